#include "base/Json.h"
#include "fuzz/Invariant.h"
#include "skills/core/SkillEntry.h"
#include "ui/VerbatimTextEdit.h"

#include <QApplication>

namespace {

void requireWrittenReadsTheSame(const Json& env)
{
    const QString text = prettyEnv(env);
    const std::optional<Json> again = parseObject(text);
    require(again && nlohmann::json(*again) == nlohmann::json(env), "what is written reads the same");
    require(prettyEnv(*again) == text, "what is read is written the same");
}

void requireFieldsShow(const Json& env)
{
    const SkillEntry entry{.env = env};
    require(readSkillEntry(toJson(entry)).env.dump() == env.dump(), "a skill's entry goes back as it came");
    for (const auto& variable : env.items()) {
        const QString shown = variableText(entry, Json::object(), textOf(variable.key()));
        require(shown == textOf(variable.value()), "the field of a variable shows its value");
    }
}

/// What the user sees and saves is what the editor's widget gives back.
void requireEditorKeeps(const QString& text)
{
    VerbatimTextEdit editor;
    editor.setText(text);
    require(editor.text() == text, "a text that is not edited stays as it is");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromStdString(bytesOf(data, size));
    requireEditorKeeps(text);
    const std::optional<Json> env = parseObject(text);
    require(env || !text.trimmed().isEmpty(), "nothing but blanks is an empty environment");
    if (!env)
        return 0;
    require(env->is_object(), "an environment is an object");
    requireEditorKeeps(prettyEnv(*env));
    requireWrittenReadsTheSame(*env);
    requireFieldsShow(*env);
    return 0;
}
