#include "Data/Capture/CaptureHeader.h"

#include <algorithm>
#include <cstring>

#include "Data/Capture/Checksum.h"

namespace Data {

namespace {

/// In front of the fields. `checksum` is XXH3-64 over the rest of the header's bytes.
struct Prefix {
    std::uint64_t magic;
    std::uint32_t version;
    std::uint32_t bytes;
    std::uint64_t checksum;
};

/// Longest string in a header. All fields together must fit into it.
constexpr std::size_t MaxText = 512;

/// Every field once, for reading and writing. A new field goes to the end; a reader takes those that it knows.
template <class Io, class Header> void Fields(Io& io, Header& header)
{
    io.U64(header.startTimeUs);
    io.U32(header.surfaceWidth);
    io.U32(header.surfaceHeight);
    io.Text(header.toolVersion);
    io.Text(header.eglVendor);
    io.Text(header.eglVersion);
    io.Text(header.glVendor);
    io.Text(header.glRenderer);
    io.Text(header.glVersion);
    io.Text(header.command);
    io.U64(header.calls);
    io.U64(header.eglCalls);
    io.U32(header.originFrame);
    io.Text(header.originFile);
}

/// Fills a header. What does not fit is cut.
class Encoder {
public:
    explicit Encoder(std::span<std::uint8_t> room) : m_room(room) {}
    void U32(std::uint32_t value) { Put(&value, sizeof value); }
    void U64(std::uint64_t value) { Put(&value, sizeof value); }
    void Text(const std::string& text)
    {
        std::size_t length = std::min(text.size(), MaxText);
        length = m_room.size() < sizeof(std::uint32_t) ? 0 : std::min(length, m_room.size() - sizeof(std::uint32_t));
        U32(static_cast<std::uint32_t>(length));
        Put(text.data(), length);
    }

private:
    void Put(const void* data, std::size_t bytes)
    {
        bytes = std::min(bytes, m_room.size());
        std::memcpy(m_room.data(), data, bytes);
        m_room = m_room.subspan(bytes);
    }
    std::span<std::uint8_t> m_room;
};

/// Reads a header. Fields beyond the end read as zero and empty.
class Decoder {
public:
    explicit Decoder(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}
    void U32(std::uint32_t& value) { Get(&value, sizeof value); }
    void U64(std::uint64_t& value) { Get(&value, sizeof value); }
    void Text(std::string& text)
    {
        std::uint32_t length = 0;
        U32(length);
        text.assign(std::min<std::size_t>(length, m_bytes.size()), '\0');
        Get(text.data(), text.size());
    }

private:
    void Get(void* data, std::size_t bytes)
    {
        if (bytes > m_bytes.size())
            m_bytes = {};
        else {
            std::memcpy(data, m_bytes.data(), bytes);
            m_bytes = m_bytes.subspan(bytes);
        }
    }
    std::span<const std::uint8_t> m_bytes;
};

} // namespace

void EncodeHeader(const CaptureHeader& header, std::span<std::uint8_t, HeaderBytes> bytes)
{
    std::memset(bytes.data(), 0, bytes.size());
    Encoder encoder(bytes.subspan(sizeof(Prefix)));
    Fields(encoder, header);
    Prefix prefix{FileMagic, header.version, HeaderBytes, 0};
    prefix.checksum = Checksum(bytes.data() + sizeof prefix, bytes.size() - sizeof prefix);
    std::memcpy(bytes.data(), &prefix, sizeof prefix);
}

std::string DecodeHeader(std::span<const std::uint8_t> bytes, CaptureHeader& header)
{
    Prefix prefix = {};
    if (bytes.empty())
        return "the file is empty";
    std::memcpy(&prefix, bytes.data(), std::min(bytes.size(), sizeof prefix));
    if (prefix.magic != FileMagic)
        return "not a capture: it does not begin with the capture's magic number";
    if (bytes.size() >= sizeof prefix && prefix.version > FormatVersion)
        return "the capture has format version " + std::to_string(prefix.version) + ", this program reads up to " +
               std::to_string(FormatVersion);
    if (bytes.size() < HeaderBytes)
        return "the header is cut: expected " + std::to_string(HeaderBytes) + " bytes, found " +
               std::to_string(bytes.size());
    if (prefix.version == 0 || prefix.bytes != HeaderBytes ||
        prefix.checksum != Checksum(bytes.data() + sizeof prefix, HeaderBytes - sizeof prefix))
        return "the header is damaged: its checksum does not match";
    Decoder decoder(bytes.subspan(sizeof prefix));
    header = CaptureHeader{};
    header.version = prefix.version;
    Fields(decoder, header);
    return {};
}

} // namespace Data
