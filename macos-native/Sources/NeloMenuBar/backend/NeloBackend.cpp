#include "backend/NeloBackend.h"

#include "HelperServerScript.h"
#include "backend/BackendReply.h"
#include "backend/ChildReaper.h"
#include "backend/HelperProcess.h"
#include "backend/ReplyReader.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>
#include <optional>

namespace {

using namespace std::chrono_literals;

/// How long a helper may take to end after it was asked to.
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

/// Makes sure that a live helper exists. Returns an error when none could be launched.
std::error_code ensureHelper(Bridge& state)
{
    state.reaper.reapEnded();
    if (state.helper && state.helper->isRunning())
        return {};
    if (state.helper)
        state.helper->terminate();
    state.helper.reset();

    std::error_code unknownFolder; // a deleted working directory has no path: the recorded folder is used then
    const std::filesystem::path root = NeloBackend::projectRoot(std::filesystem::current_path(unknownFolder),
                                                                std::filesystem::path(NELO_MAIN_SOURCE_FILE));
    HelperProcess::Launch launch = HelperProcess::launch(
        {"/usr/bin/env", "python3", "-u", "-c", std::string(helperServerScript)}, root, state.reaper);
    if (const auto* failure = std::get_if<std::error_code>(&launch))
        return *failure;
    state.helper.emplace(std::get<HelperProcess>(std::move(launch)));
    return {};
}

/// Says of each byte whether a text with it needs escapes in JSON: all but printable ASCII without quotation marks and
/// backslashes do, as far as it matters here.
constexpr auto needsEscape = [] {
    std::array<bool, 256> needs{};
    for (std::size_t byte = 0; byte < needs.size(); ++byte)
        needs[byte] = byte < ' ' || byte > '~' || byte == '"' || byte == '\\';
    return needs;
}();

void appendText(std::string& line, std::string_view text)
{
    if (std::none_of(text.begin(), text.end(), [](char c) { return needsEscape[static_cast<unsigned char>(c)]; }))
        line.append(1, '"').append(text).append(1, '"');
    else
        line += Json(text).dump();
}

/// Appends the JSON text of `value`. The general printer takes as long as the rest of a short call, so that names,
/// paths and integers go without it.
void appendValue(std::string& line, const Json& value)
{
    if (const auto* text = value.get_ptr<const Json::string_t*>())
        appendText(line, *text);
    else if (value.type() == Json::value_t::number_integer)
        line += std::to_string(value.get<Json::number_integer_t>());
    else
        line += value.dump();
}

/// Returns the request as a compact JSON object and a line feed. The pieces are written one by one: a JSON value of the
/// whole request would copy every argument.
std::string requestLine(std::string_view function, std::span<const Json> args)
{
    std::string line;
    line.reserve(256); // most requests are shorter; to grow step by step takes a tenth of our part of a short call
    line += R"({"function":)";
    appendText(line, function);
    line += R"(,"args":)";
    char separator = '[';
    for (const Json& arg : args) {
        line += separator;
        appendValue(line, arg);
        separator = ',';
    }
    line += args.empty() ? "[]}\n" : "]}\n";
    return line;
}

ReplyOutcome terminated()
{
    return {errorText("backend helper terminated"), ReplyOutcome::Helper::Drop};
}

ReplyOutcome broken(const std::error_code& failure)
{
    return {errorText(failure.message()), ReplyOutcome::Helper::Drop};
}

/// Sends `request` to the running helper and reads its reply.
ReplyOutcome ask(Bridge& state, const std::string& request)
{
    if (const std::error_code failure = state.helper->write(request)) {
        // A helper that no longer reads has ended. The write may report this, or the read after it.
        return failure == std::errc::broken_pipe ? terminated() : broken(failure);
    }
    const HelperProcess::Line line = state.helper->readLine();
    if (std::holds_alternative<HelperProcess::EndOfFile>(line))
        return terminated();
    if (const auto* failure = std::get_if<std::error_code>(&line))
        return broken(*failure);
    return state.reader.interpret(std::get<std::string_view>(line));
}

} // namespace

std::string NeloBackend::call(std::string_view function, std::span<const Json> args)
{
    Bridge& state = bridge();
    const std::lock_guard locked(state.lock);
    try {
        if (const std::error_code failure = ensureHelper(state))
            return errorText(failure.message());
        ReplyOutcome outcome = ask(state, requestLine(function, args));
        if (outcome.helper == ReplyOutcome::Helper::Drop)
            state.helper.reset();
        return std::move(outcome.text);
    } catch (const std::exception& failure) { // the request is not UTF-8, or there is no memory for the reply
        state.helper.reset();
        return errorText(failure.what());
    }
}

std::filesystem::path NeloBackend::projectRoot(const std::filesystem::path& workingDirectory,
                                               const std::filesystem::path& mainSourceFile)
{
    if (workingDirectory.filename() == "macos-native")
        return workingDirectory.parent_path();
    if (workingDirectory.filename() == "nelohub")
        return workingDirectory;
    // <root>/macos-native/Sources/NeloMenuBar/main.cpp
    return mainSourceFile.parent_path().parent_path().parent_path().parent_path();
}

void NeloBackend::shutdown()
{
    Bridge& state = bridge();
    const std::lock_guard locked(state.lock);
    state.helper.reset();
    state.reaper.stopAll(quitGrace);
}
