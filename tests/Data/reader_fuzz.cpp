// Fuzz target of the capture reader (libFuzzer). The first byte of an input chooses what it is: the bytes of a file, or
// records, which then go past the checksums to the decoding. The adapters use every byte that a driver would, so that
// the sanitizers see what the reader let through.
//
// Records are written in a form of their own, in which every input is a sequence of whole records:
//   number of the call or record:u16   bytes behind the header:u16   those bytes
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

#include "Data/CallParameters.h"
#include "Data/CaptureFile.h"
#include "Data/CaptureWriter.h"
#include "TouchingAdapters.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using namespace Data;

constexpr std::uint32_t builtInCount = static_cast<std::uint32_t>(RecordId::MultisampleTexture) - firstBuiltInId + 2;
constexpr std::uint32_t maxBodyBytes = 2048;

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

void Drive(FrameProcessor& processor, const std::function<void()>& run)
{
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
    if (const auto capture = CaptureFile::Open(file.path, Preload::No, nullptr, error)) {
        Drive(*capture->GetFrameProcessor(), [&] {
            while (capture->GetFrameProcessor()->ProcessNextFrame()) {
            }
        });
    }
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
        const std::size_t body = std::min<std::size_t>({bytes, maxBodyBytes, input.size() - at});
        const std::uint32_t id = number % (callCount + builtInCount);
        const RecordHeader header{static_cast<std::uint32_t>(RoundUp8(sizeof header + body)),
                                  id < callCount ? id : firstBuiltInId + id - callCount};
        const std::size_t place = chunk.size();
        chunk.resize(place + header.bytes / 8);
        std::memcpy(&chunk[place], &header, sizeof header);
        if (body > 0)
            std::memcpy(reinterpret_cast<std::uint8_t*>(&chunk[place]) + sizeof header, input.data() + at, body);
        at += body;
    }
    static const std::unique_ptr<CaptureSource> source = [] {
        static const MemoryFile file;
        file.Set(EmptyCapture());
        std::string error;
        return CaptureSource::Open(file.path, error);
    }();
    // A chunk of exactly this size, so that the sanitizer sees its end.
    const auto memory = std::make_unique<std::uint64_t[]>(chunk.size());
    std::copy(chunk.begin(), chunk.end(), memory.get());
    Diagnostics diagnostics("fuzz", [](const std::string&) {});
    FrameProcessor processor(*source, Preload::No, diagnostics);
    Drive(processor, [&] {
        processor.ProcessChunk(reinterpret_cast<std::uint8_t*>(memory.get()),
                               static_cast<std::uint32_t>(chunk.size() * 8));
    });
}

/// Builds records in the form of the input.
class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    /// One well-formed record: mostly a call, with contents behind its pointers.
    std::vector<std::uint8_t> Record()
    {
        const std::uint32_t number = Below(6) == 0 ? callCount + Below(builtInCount) : Call();
        std::vector<std::uint8_t> body = number < callCount ? CallBody(static_cast<CallId>(number)) : BuiltInBody();
        body.resize(std::min<std::size_t>(body.size(), maxBodyBytes));
        std::vector<std::uint8_t> record(4);
        const auto bytes = static_cast<std::uint16_t>(body.size());
        const auto id = static_cast<std::uint16_t>(number);
        std::memcpy(record.data(), &id, sizeof id);
        std::memcpy(record.data() + 2, &bytes, sizeof bytes);
        record.insert(record.end(), body.begin(), body.end());
        return record;
    }

private:
    std::uint32_t Below(std::uint32_t end) { return static_cast<std::uint32_t>(m_random() % end); }

    /// Half of the time a call that the client state depends on.
    std::uint32_t Call()
    {
        static constexpr CallId tracked[] = {CallId::glGenBuffers,
                                             CallId::glBindBuffer,
                                             CallId::glBufferData,
                                             CallId::glBufferSubData,
                                             CallId::glDeleteBuffers,
                                             CallId::glMapBufferRange,
                                             CallId::glUnmapBuffer,
                                             CallId::glPixelStorei,
                                             CallId::glVertexAttribPointer,
                                             CallId::glEnableVertexAttribArray,
                                             CallId::glDrawArrays,
                                             CallId::glDrawElements,
                                             CallId::glGenVertexArrays,
                                             CallId::glBindVertexArray,
                                             CallId::glTexImage2D,
                                             CallId::glTexSubImage3D,
                                             CallId::glReadPixels,
                                             CallId::glShaderSource,
                                             CallId::glVertexAttribBinding,
                                             CallId::glVertexAttribDivisor,
                                             CallId::glDrawElementsInstanced,
                                             CallId::eglCreateContext,
                                             CallId::eglMakeCurrent,
                                             CallId::glBindVertexBuffer,
                                             CallId::glDrawArraysInstanced};
        return Below(2) == 0 ? Below(callCount) : static_cast<std::uint32_t>(tracked[Below(std::size(tracked))]);
    }

    std::uint32_t Number()
    {
        static constexpr std::uint32_t interesting[] = {Enum::ArrayBuffer,
                                                        Enum::ElementArrayBuffer,
                                                        Enum::PixelPackBuffer,
                                                        Enum::PixelUnpackBuffer,
                                                        Enum::DrawIndirectBuffer,
                                                        Enum::CopyWriteBuffer,
                                                        Enum::UnpackAlignment,
                                                        Enum::UnpackRowLength,
                                                        Enum::UnpackSkipRows,
                                                        Enum::UnpackImageHeight,
                                                        Enum::PackAlignment,
                                                        Enum::PackRowLength,
                                                        Enum::UnsignedByte,
                                                        Enum::UnsignedShort,
                                                        Enum::UnsignedInt,
                                                        Enum::Float,
                                                        Enum::UnsignedShort565,
                                                        Enum::Rgba,
                                                        Enum::Rgb,
                                                        Enum::DepthStencil,
                                                        Enum::Alpha,
                                                        Enum::PrimitiveRestartFixedIndex,
                                                        0x86A3,
                                                        0x0BA2,
                                                        0x1004,
                                                        0x92BE,
                                                        0x3038,
                                                        0x7fffffff,
                                                        0x80000000,
                                                        0xffffffff,
                                                        0x10000};
        switch (Below(4)) {
        case 0:
            return interesting[Below(std::size(interesting))];
        case 1:
            return Below(64);
        default:
            return Below(5);
        }
    }

    template <class T> static void Put(std::vector<std::uint8_t>& body, std::size_t at, const T& value)
    {
        // Places count from the record's header, which the body lacks.
        std::memcpy(body.data() + at - sizeof(RecordHeader), &value, sizeof value);
    }

    void Add(std::vector<std::uint8_t>& body, const ParameterDescription& parameter)
    {
        const std::size_t end = parameter.at - sizeof(RecordHeader) + sizeof(PointerSlot);
        if (body.size() < end)
            body.resize(end);
        if (parameter.form == ParameterForm::Scalar) {
            Put(body, parameter.at, std::uint64_t{0});
            Put(body, parameter.at, Number());
        } else {
            Put(body, parameter.at, PointerSlot{Number(), 0, 0});
        }
    }

    void AddContents(std::vector<std::uint8_t>& body, const ParameterDescription& parameter)
    {
        if (parameter.form == ParameterForm::Scalar || parameter.form == ParameterForm::Opaque || Below(5) == 0)
            return;
        body.resize(RoundUp8(body.size()));
        std::vector<std::uint8_t> contents(Below(3) == 0 ? Below(600) : Below(80));
        for (std::uint8_t& byte : contents)
            byte = static_cast<std::uint8_t>(Below(4));
        if (parameter.form == ParameterForm::Strings) {
            const std::uint32_t count = Below(4);
            contents.assign(count * 8, 0);
            for (std::uint32_t i = 0; i < count; ++i) {
                const std::uint64_t offset = contents.size();
                std::memcpy(contents.data() + std::size_t{i} * 8, &offset, sizeof offset);
                contents.resize(contents.size() + Below(12), 'a');
                contents.push_back(0);
            }
        } else if (parameter.form == ParameterForm::Attribs) {
            const std::int64_t none = Enum::EglNone;
            contents.resize((Below(8) == 0 ? Below(36) : Below(8)) * 2 * parameter.bytes, 1);
            contents.insert(contents.end(), reinterpret_cast<const std::uint8_t*>(&none),
                            reinterpret_cast<const std::uint8_t*>(&none) + parameter.bytes);
        } else if (parameter.form == ParameterForm::Text) {
            contents.push_back(0);
        }
        Put(body, parameter.at,
            PointerSlot{Below(2), static_cast<std::uint32_t>(contents.size()),
                        static_cast<std::uint32_t>(body.size() + sizeof(RecordHeader))});
        body.insert(body.end(), contents.begin(), contents.end());
    }

    std::vector<std::uint8_t> CallBody(CallId call)
    {
        std::vector<ParameterDescription> parameters;
        if (const ParameterDescription* const returned = ReturnOf(call))
            parameters.push_back(*returned);
        const auto rest = ParametersOf(call);
        parameters.insert(parameters.end(), rest.begin(), rest.end());
        std::vector<std::uint8_t> body;
        for (const ParameterDescription& parameter : parameters)
            Add(body, parameter);
        for (const ParameterDescription& parameter : parameters)
            AddContents(body, parameter);
        return body;
    }

    /// Numbers, with a slot somewhere whose contents are behind it.
    std::vector<std::uint8_t> BuiltInBody()
    {
        const std::uint32_t slot = 8 + 8 * Below(8);
        std::vector<std::uint8_t> body(slot + sizeof(PointerSlot) + Below(200), 1);
        for (std::uint32_t at = 0; at + 4 <= slot; at += 4)
            Put(body, sizeof(RecordHeader) + at, Number());
        const std::uint32_t offset = sizeof(RecordHeader) + slot + sizeof(PointerSlot);
        Put(body, sizeof(RecordHeader) + slot,
            PointerSlot{1, static_cast<std::uint32_t>(body.size() + sizeof(RecordHeader) - offset), offset});
        return body;
    }

    std::mt19937 m_random;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::span<const std::uint8_t> input(data + 1, size - 1);
    if (data[0] % 8 == 1)
        RunFile(input);
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
        data[0] = 0;
        size = 1;
    }
    if (data[0] % 8 == 1 || random() % 2 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    Generator generator(seed);
    for (std::uint32_t more = 1 + random() % 6; more > 0; --more) {
        const std::vector<std::uint8_t> record = generator.Record();
        if (size + record.size() > maxSize)
            break;
        std::memcpy(data + size, record.data(), record.size());
        size += record.size();
    }
    return size;
}
