#include "backend/NeloBackend.h"

#include "HelperServerScript.h"
#include "backend/ChildReaper.h"
#include "backend/HelperProcess.h"
#include "backend/ProjectRoot.h"
#include "backend/ReplyLine.h"

#include <algorithm>
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
    ReplyReader reader;
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

/// Whether a text between quotation marks is its own JSON: printable ASCII with nothing to escape.
bool needsNoEscape(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

void appendText(std::string& line, std::string_view text)
{
    if (needsNoEscape(text)) // most are names and paths; the general printer takes as long as the rest of a short call
        line.append(1, '"').append(text).append(1, '"');
    else
        line += Json(text).dump();
}

/// A compact JSON object and a line feed. Written piece by piece: a tree of it would copy every argument first.
std::string requestLine(std::string_view function, const std::vector<Json>& args)
{
    std::string line;
    line.reserve(256); // most requests; growing by and by would take several allocations
    line += R"({"function":)";
    appendText(line, function);
    line += R"(,"args":)";
    char separator = '[';
    for (const Json& arg : args) {
        line += separator;
        if (const auto* text = arg.get_ptr<const Json::string_t*>())
            appendText(line, *text);
        else
            line += arg.dump();
        separator = ',';
    }
    line += args.empty() ? "[]}\n" : "]}\n";
    return line;
}

ReplyMeaning terminated()
{
    return {errorText("backend helper terminated"), ReplyMeaning::Helper::Drop};
}

ReplyMeaning broken(const std::error_code& failure)
{
    return {errorText(failure.message()), ReplyMeaning::Helper::Drop};
}

/// One exchange with the helper that is there.
ReplyMeaning ask(Bridge& state, const std::string& request)
{
    if (const std::error_code failure = state.helper->write(request)) {
        // A helper that reads no more is over, whether we learn it while writing or, an instant later, while reading.
        return failure == std::errc::broken_pipe ? terminated() : broken(failure);
    }
    const HelperProcess::Line line = state.helper->readLine();
    if (std::holds_alternative<HelperProcess::EndOfOutput>(line))
        return terminated();
    if (const auto* failure = std::get_if<std::error_code>(&line))
        return broken(*failure);
    return state.reader.interpret(std::get<std::string>(line));
}

} // namespace

std::string NeloBackend::call(std::string_view function, const std::vector<Json>& args)
{
    Bridge& state = bridge();
    const std::lock_guard locked(state.lock);
    try {
        if (const std::error_code failure = ensureHelper(state))
            return errorText(failure.message());
        ReplyMeaning meaning = ask(state, requestLine(function, args));
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
