#include "fuzz/HelperLine.h"
#include "fuzz/Invariant.h"
#include "skills/core/SkillReports.h"
#include "skills/core/SkillTexts.h"
#include "skills/core/SkillVariables.h"

#include <QSet>

namespace {

constexpr qsizetype maxFrameLength = 200; // of a text around what a row holds

void requireVariablesAreOnceEach(const Json& skill)
{
    const QString primary = primaryVariable(skill);
    QSet<QString> names;
    for (const DynamicVariable& variable : dynamicVariables(skill)) {
        require(!variable.name.trimmed().isEmpty(), "a variable has a name");
        require(!names.contains(variable.name), "each variable has one field");
        require(variable.caption.contains(variable.name), "its caption names it");
        names.insert(variable.name);
    }
    require(primary.isEmpty() || names.contains(primary), "the credential's variable has a field");
    for (const QString& required : textsOf(skill, "requiredEnv"))
        require(required.trimmed().isEmpty() || names.contains(required), "what is required has a field");
}

void requireTextsAreTheRows(const Json& skill)
{
    const qsizetype maxTextLength = static_cast<qsizetype>(skill.dump().size()) + maxFrameLength;
    for (const QString& text : {skillTitle(skill), skillDescription(skill), cloudSkillTitle(skill),
                                installStatus(skillName(skill), {}), installSummary(skill)})
        require(text.size() <= maxTextLength, "a text is no longer than what it tells of");
    require(skillTitle(skill).endsWith(textOf(skill, "name", QStringLiteral("(unknown)"))), "a title ends in the name");
    require(skillDescription(skill).contains(textOf(skill, "path")), "the description has the path");
    require(cloudSkillTitle(skill).startsWith(cloudSkillName(skill)), "a title in the catalogue begins with the name");
    require(!credentialCaption(skill).trimmed().isEmpty(), "the credential's field has a caption");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const Json& skill : replyToLine(bytesOf(data, size)).rows()) {
        requireVariablesAreOnceEach(skill);
        requireTextsAreTheRows(skill);
    }
    return 0;
}
