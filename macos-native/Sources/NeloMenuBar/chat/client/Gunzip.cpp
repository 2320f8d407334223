#include "chat/client/Gunzip.h"

#include <array>

#include <zlib.h>

namespace {

constexpr qsizetype maxContentBytes = 256'000'000; // no answer is larger
constexpr int gzipOnly = 16;                       // added to the window's size, see inflateInit2() in zlib's manual

/// A stream that inflates. The destructor ends it.
class Inflater final
{
public:
    Inflater() { m_isReady = inflateInit2(&m_stream, MAX_WBITS + gzipOnly) == Z_OK; }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater()
    {
        if (m_isReady)
            inflateEnd(&m_stream);
    }

    std::optional<QByteArray> unpack(QByteArray packed)
    {
        m_stream.next_in = reinterpret_cast<Bytef*>(packed.data()); // zlib's type for bytes
        m_stream.avail_in = static_cast<uInt>(packed.size());
        QByteArray content;
        int state = m_isReady ? Z_OK : Z_MEM_ERROR;
        while (state == Z_OK && content.size() <= maxContentBytes) {
            std::array<char, 65'536> piece{};
            m_stream.next_out = reinterpret_cast<Bytef*>(piece.data());
            m_stream.avail_out = static_cast<uInt>(piece.size());
            state = inflate(&m_stream, Z_NO_FLUSH);
            content.append(piece.data(), static_cast<qsizetype>(piece.size() - m_stream.avail_out));
            if (state == Z_STREAM_END && m_stream.avail_in > 0)
                state = inflateReset(&m_stream); // another gzip member follows
        }
        return state == Z_STREAM_END ? std::optional(content) : std::nullopt;
    }

private:
    z_stream m_stream{};
    bool m_isReady = false;
};

} // namespace

std::optional<QByteArray> gunzip(const QByteArray& packed)
{
    return Inflater().unpack(packed);
}
