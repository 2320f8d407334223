#include "backend/ReplyReader.h"
#include "base/Json.h"
#include "fuzz/Invariant.h"

namespace {

constexpr std::size_t growth = 5;           // how many times its length a number may have when it is printed: 9e14, say
constexpr std::size_t maxFrameLength = 200; // of a text that tells of an error

void requireSuccess(const std::string& line, const ReplyOutcome& outcome)
{
    require(outcome.helper == ReplyOutcome::Helper::Keep, "a helper that answers is kept");
    const Json result = parseJson(outcome.text);
    const Json reply = parseJson(line);
    require(!result.is_discarded() && reply.is_object(), "what is answered is JSON, for other readers too");
    require(reply.contains("ok") && reply["ok"] == true, "no reply but one that says so succeeds");
    require((reply.contains("result") ? reply["result"].dump() : "{}") == result.dump(), "the result is the reply's");

    const ReplyOutcome again = ReplyReader().interpret(R"({"ok":true,"result":)" + outcome.text + '}');
    require(again.text == outcome.text, "a result that is sent again reads the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static ReplyReader reader; // keeps its buffers from line to line, as the bridge's does
    const std::string line = bytesOf(data, size);
    const ReplyOutcome outcome = reader.interpret(line);
    const ReplyOutcome fresh = ReplyReader().interpret(line);
    require(outcome.text == fresh.text && outcome.helper == fresh.helper, "no line depends on those before it");
    require(outcome.text.size() <= growth * line.size() + maxFrameLength, "no answer is much longer than its line");
    if (!outcome.text.starts_with("ERROR: "))
        requireSuccess(line, outcome);
    return 0;
}
