#include "chat/client/Gunzip.h"
#include "fuzz/Invariant.h"

#include <zlib.h>

namespace {

constexpr qsizetype maxGrowth = 1100; // times: deflate packs 1032 to 1 at best
constexpr int gzipFormat = 16;        // added to the window's size, see deflateInit2() in zlib's manual

QByteArray gzip(QByteArray content)
{
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, MAX_WBITS + gzipFormat, 1, Z_DEFAULT_STRATEGY);
    QByteArray packed(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(content.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(content.data());
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "everything can be packed");
    packed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return packed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromStdString(bytesOf(data, size));
    const std::optional<QByteArray> content = gunzip(bytes);
    require(!content || content->size() <= bytes.size() * maxGrowth, "content is what the format can hold");

    const QByteArray packed = gzip(bytes);
    require(gunzip(packed) == bytes, "what is packed is unpacked");
    const qsizetype cut = bytes.isEmpty() ? 1 : 1 + static_cast<unsigned char>(bytes.back()) % (packed.size() - 1);
    require(!gunzip(packed.chopped(cut)), "nothing comes of what breaks off");
    return 0;
}
