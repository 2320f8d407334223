#include "backend/ReplyLine.h"
#include "base/Json.h"
#include "fuzz/Invariant.h"

namespace {

constexpr std::size_t growth = 5;         // how many times its length a number may have when it is printed: 9e14, say
constexpr std::size_t longestFrame = 200; // of a text that tells of an error

void requireSuccess(const std::string& line, const ReplyMeaning& meaning)
{
    require(meaning.helper == ReplyMeaning::Helper::Keep, "a helper that answers is kept");
    const Json result = parseJson(meaning.text);
    const Json reply = parseJson(line);
    require(!result.is_discarded() && reply.is_object(), "what is answered is JSON, for other readers too");
    require(reply.contains("ok") && reply["ok"] == true, "no reply but one that says so succeeds");
    require((reply.contains("result") ? reply["result"].dump() : "{}") == result.dump(), "the result is the reply's");

    const ReplyMeaning again = ReplyReader().interpret(R"({"ok":true,"result":)" + meaning.text + '}');
    require(again.text == meaning.text, "a result that is sent again reads the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static ReplyReader reader; // keeps its buffers from line to line, as the bridge's does
    const std::string line = bytesOf(data, size);
    const ReplyMeaning meaning = reader.interpret(line);
    const ReplyMeaning fresh = ReplyReader().interpret(line);
    require(meaning.text == fresh.text && meaning.helper == fresh.helper, "no line depends on those before it");
    require(meaning.text.size() <= growth * line.size() + longestFrame, "no answer is much longer than its line");
    if (!meaning.text.starts_with("ERROR: "))
        requireSuccess(line, meaning);
    return 0;
}
