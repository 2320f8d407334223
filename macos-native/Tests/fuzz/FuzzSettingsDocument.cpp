#include "base/Provider.h"
#include "fuzz/HelperLine.h"
#include "fuzz/Invariant.h"
#include "settings/core/SettingsDocument.h"

namespace {

/// Written documents have no blanks around what is typed by hand, and a path.
SettingsDocument asWritten(SettingsDocument settings)
{
    for (QString* const typed :
         {&settings.coreUrl, &settings.cloudModel, &settings.tovaniPath, &settings.cloudSkillsCatalogUrl})
        *typed = typed->trimmed();
    if (settings.tovaniPath.isEmpty())
        settings.tovaniPath = defaultTovaniPath();
    return settings;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const SettingsDocument settings = readSettingsDocument(replyToLine(bytesOf(data, size)).object());
    require(chatModes().contains(settings.chatMode), "the mode is one of those offered");
    require(Provider::all().contains(settings.cloudProvider), "the provider is one of those offered");

    const Json written = parseJson(toJson(settings).dump());
    require(readSettingsDocument(written) == asWritten(settings), "what is written reads the same");
    require(toJson(readSettingsDocument(written)).dump() == written.dump(), "what is read is written the same");
    return 0;
}
