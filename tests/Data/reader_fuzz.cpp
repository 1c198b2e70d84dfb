// Fuzz target of the capture reader (libFuzzer). The first byte of an input chooses what it is: the bytes of a file,
// those of a summary, a packed chunk, or records, which then go past the checksums to the decoding. The adapters use
// every byte that a driver would, so that the sanitizers see what the reader let through.
//
// Records are written in a form of their own, in which every input is a sequence of whole records:
//   number of the call or record:u16   bytes after the header:u16   those bytes
// The mutator knows that form, and appends well-formed calls of all kinds, so it needs no seeds to get deep.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "Data/Capture/CaptureFile.h"
#include "Data/Capture/CaptureWriter.h"
#include "Data/Capture/Checksum.h"
#include "Data/Capture/SummaryReader.h"
#include "Data/Records/CallParameters.h"
#include "Data/Records/CallStacks.h"
#include "Data/Records/References.h"
#include "RecordGenerator.h"
#include "TouchingAdapters.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using namespace Data;

/// A file in memory, under a path.
class MemoryFile {
public:
    MemoryFile() : m_fd(memfd_create("capture", 0)), path("/proc/self/fd/" + std::to_string(m_fd)) {}
    ~MemoryFile() { close(m_fd); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    void Set(std::span<const std::uint8_t> bytes) const
    {
        if (ftruncate(m_fd, 0) != 0 || pwrite(m_fd, bytes.data(), bytes.size(), 0) < 0)
            std::abort();
    }
    std::vector<std::uint8_t> Get() const
    {
        std::vector<std::uint8_t> bytes(1 << 20);
        bytes.resize(static_cast<std::size_t>(pread(m_fd, bytes.data(), bytes.size(), 0)));
        return bytes;
    }

private:
    int m_fd;

public:
    const std::string path;
};

/// A capture without records, for its call table.
const std::vector<std::uint8_t>& EmptyCapture()
{
    static const std::vector<std::uint8_t> bytes = [] {
        const MemoryFile file;
        std::string error;
        CaptureWriter::Create(file.path, {}, error)->Finish(error);
        return file.Get();
    }();
    return bytes;
}

/// Uses every byte of a function's name.
class TouchingReferenceHandler : public ReferenceHandler {
public:
    void ProcessReferenceHash(const ReferenceHashRecord&, const ReferencePlace& place) override
    {
        if (std::string(place.function) == "?")
            std::abort();
    }
};

void Drive(FrameProcessor& processor, const std::function<void()>& run)
{
    TouchingReferenceHandler references;
    processor.SetReferenceHandler(&references);
    TouchingGLAdapter gl(processor.Calls());
    TouchingEGLAdapter egl(processor.Calls());
    TouchingMetaHandler meta;
    processor.Calls().SetAdapter(&gl);
    processor.Calls().SetAdapter(&egl);
    processor.Meta().Add(&meta);
    run();
}

void RunFile(std::span<const std::uint8_t> bytes)
{
    static const MemoryFile file;
    file.Set(bytes);
    std::string error;
    if (const auto source = CaptureSource::Open(file.path, error))
        ReadSummary(*source, error);
    if (const auto capture = CaptureFile::Open(file.path, Preload::No, nullptr, error)) {
        Drive(
            *capture->GetFrameProcessor(),
            [&] {
                while (capture->GetFrameProcessor()->ProcessNextFrame()) {
                }
            });
    }
}

/// The source of a capture without records.
CaptureSource& EmptySource()
{
    static const std::unique_ptr<CaptureSource> source = [] {
        static const MemoryFile file;
        file.Set(EmptyCapture());
        std::string error;
        return CaptureSource::Open(file.path, error);
    }();
    return *source;
}

void RunSummary(std::span<const std::uint8_t> input)
{
    Chunk chunk;
    chunk.memory = std::make_unique<std::uint64_t[]>((input.size() + 7) / 8);
    chunk.bytes = static_cast<std::uint32_t>(input.size());
    std::copy(input.begin(), input.end(), chunk.Data());
    std::string trouble;
    DecodeSummary(chunk, EmptySource(), trouble);
}

/// The size of the chunk is in front.
void RunPacked(std::span<const std::uint8_t> input)
{
    std::uint16_t size = 0;
    if (input.size() < sizeof size)
        return;
    std::memcpy(&size, input.data(), sizeof size);
    const auto memory = std::make_unique<std::uint8_t[]>(size);
    ChunkUnpacker unpacker;
    unpacker.UnpackRecords(input.subspan(sizeof size), {memory.get(), size});
    static_cast<void>(RepeatedWords::Restore({input.subspan(sizeof size), size % 64u}, {memory.get(), size}));
}

void RunRecords(std::span<const std::uint8_t> input)
{
    std::vector<std::uint64_t> chunk;
    std::size_t at = 0;
    while (input.size() - at >= 4) {
        std::uint16_t number;
        std::uint16_t bytes;
        std::memcpy(&number, input.data() + at, sizeof number);
        std::memcpy(&bytes, input.data() + at + 2, sizeof bytes);
        at += 4;
        const std::size_t body = std::min<std::size_t>({bytes, MaxBodyBytes, input.size() - at});
        const std::uint32_t id = number % (callCount + BuiltInCount);
        const RecordHeader header{static_cast<std::uint32_t>(RoundUp8(sizeof header + body)),
                                  id < callCount ? id : FirstBuiltInId + id - callCount};
        const std::size_t place = chunk.size();
        chunk.resize(place + header.bytes / 8);
        std::memcpy(&chunk[place], &header, sizeof header);
        if (body > 0)
            std::memcpy(reinterpret_cast<std::uint8_t*>(&chunk[place]) + sizeof header, input.data() + at, body);
        at += body;
    }
    // A chunk of exactly this size, so that the sanitizer sees its end.
    const auto memory = std::make_unique<std::uint64_t[]>(chunk.size());
    std::copy(chunk.begin(), chunk.end(), memory.get());
    Diagnostics diagnostics("fuzz", [](const std::string&) {});
    const auto bytes = static_cast<std::uint32_t>(chunk.size() * 8);
    CallStacks stacks(diagnostics);
    for (RecordCursor cursor(reinterpret_cast<std::uint8_t*>(memory.get()), bytes, 0); cursor.Next();)
        if (const std::uint32_t stack = stacks.Take(cursor) ? 0 : stacks.StackOf(cursor))
            for (const StackFrame& frame : stacks.Frames(stack))
                if (frame.module != 0 && stacks.Module(frame.module).path == "?")
                    std::abort();
    References references(diagnostics);
    for (RecordCursor cursor(reinterpret_cast<std::uint8_t*>(memory.get()), bytes, 0); cursor.Next();) {
        references.Take(cursor);
        if (const auto picture = references.PictureOf(cursor))
            if (Checksum(picture->png.data(), picture->png.size()) == 1)
                std::abort();
    }
    FrameProcessor processor(EmptySource(), Preload::No, diagnostics);
    Drive(processor, [&] { processor.ProcessChunk(reinterpret_cast<std::uint8_t*>(memory.get()), bytes); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::span<const std::uint8_t> input(data + 1, size - 1);
    if (data[0] % 8 == 1)
        RunFile(input);
    else if (data[0] % 8 == 2)
        RunSummary(input);
    else if (data[0] % 8 == 3)
        RunPacked(input);
    else
        RunRecords(input);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed)
{
    std::mt19937 random(seed);
    if (size == 0 || (data[0] % 8 == 1 && random() % 64 == 0)) {
        // A whole file to begin with.
        const std::vector<std::uint8_t>& capture = EmptyCapture();
        if (random() % 8 == 0 && capture.size() + 1 <= maxSize) {
            data[0] = 1;
            std::memcpy(data + 1, capture.data(), capture.size());
            return capture.size() + 1;
        }
        data[0] = random() % 16 == 0 ? 2 + random() % 2 : 0;
        size = 1;
        // A summary to begin with.
        if (const std::vector<std::uint8_t> body = EncodeSummary({}); data[0] == 2 && body.size() < maxSize) {
            std::memcpy(data + 1, body.data(), body.size());
            size += body.size();
        }
    }
    if ((data[0] % 8 >= 1 && data[0] % 8 <= 3) || random() % 2 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    RecordGenerator generator(seed);
    for (std::uint32_t more = 1 + random() % 6; more > 0; --more) {
        const std::vector<std::uint8_t> record = random() % 8 == 0 ? generator.MappedWrite() : generator.Record();
        if (size + record.size() > maxSize)
            break;
        std::memcpy(data + size, record.data(), record.size());
        size += record.size();
    }
    return size;
}
