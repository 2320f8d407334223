#include "backend/NeloBackend.h"

#include "HelperServerScript.h"
#include "backend/ChildReaper.h"
#include "backend/HelperProcess.h"
#include "backend/ProjectRoot.h"
#include "backend/ReplyLine.h"

#include <chrono>
#include <mutex>
#include <optional>

namespace {

using namespace std::chrono_literals;

/// How long a helper may take to go once it was asked to; nothing it was told to keep is lost with it.
constexpr std::chrono::milliseconds quitGrace = 2s;

/// The bridge's only state.
struct Bridge
{
    std::mutex lock;
    ChildReaper reaper; // outlives the helper, which leaves its process to it
    std::optional<HelperProcess> helper;
};

Bridge& bridge()
{
    static Bridge instance;
    return instance;
}

/// Makes sure that a live helper exists; an error says why it could not be launched.
std::error_code ensureHelper(Bridge& state)
{
    if (state.helper && state.helper->isRunning())
        return {};
    if (state.helper)
        state.helper->terminate();
    state.helper.reset();

    std::error_code unknownFolder; // a working directory that is gone has no name: the recorded folder serves
    const std::filesystem::path root =
        projectRoot(std::filesystem::current_path(unknownFolder), std::filesystem::path(NELO_MAIN_SOURCE_FILE));
    HelperProcess::Launch launch = HelperProcess::launch(
        {"/usr/bin/env", "python3", "-u", "-c", std::string(helperServerScript)}, root, state.reaper);
    if (const auto* failure = std::get_if<std::error_code>(&launch))
        return *failure;
    state.helper.emplace(std::get<HelperProcess>(std::move(launch)));
    return {};
}

/// One exchange with a helper that is there. A failure leaves the decision about the helper in the result.
ReplyMeaning exchange(HelperProcess& helper, const std::string& request)
{
    constexpr auto drop = ReplyMeaning::Helper::Drop;
    const std::string terminated = errorText("backend helper terminated");

    if (const std::error_code failure = helper.write(request)) {
        // A helper that reads no more is over, whether we learn it while writing or, an instant later, while reading.
        return {failure == std::errc::broken_pipe ? terminated : errorText(failure.message()), drop};
    }
    const HelperProcess::Line line = helper.readLine();
    if (std::holds_alternative<HelperProcess::EndOfOutput>(line))
        return {terminated, drop};
    if (const auto* failure = std::get_if<std::error_code>(&line))
        return {errorText(failure->message()), drop};
    return interpretReplyLine(std::get<std::string>(line));
}

} // namespace

std::string NeloBackend::call(std::string_view function, const std::vector<Json>& args)
{
    Bridge& state = bridge();
    const std::lock_guard locked(state.lock);
    try {
        if (const std::error_code failure = ensureHelper(state))
            return errorText(failure.message());
        const std::string request = Json{{"function", function}, {"args", args}}.dump() + '\n';
        ReplyMeaning meaning = exchange(*state.helper, request);
        if (meaning.helper == ReplyMeaning::Helper::Drop)
            state.helper.reset();
        return std::move(meaning.text);
    } catch (const std::exception& failure) { // a request that is not UTF-8, or no memory for a reply
        state.helper.reset();
        return errorText(failure.what());
    }
}

void NeloBackend::shutdown()
{
    Bridge& state = bridge();
    const std::lock_guard locked(state.lock);
    state.helper.reset();
    state.reaper.stopAll(quitGrace);
}
