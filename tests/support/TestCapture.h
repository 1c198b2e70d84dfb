// Builds captures for tests, call by call, and replays them.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Data/Capture/CaptureFile.h"
#include "Data/Capture/CaptureWriter.h"
#include "Data/Capture/Checksum.h"
#include "Data/Records/CallParameters.h"
#include "support/TestFiles.h"

namespace Data {

/// The record of a call, built from its parameter table. Arguments and contents come in the order of the prototype, a
/// returned value first.
class CallRecord {
public:
    template <class... Args>
    explicit CallRecord(CallId call, const Args&... args) : id(static_cast<std::uint32_t>(call))
    {
        if (const ParameterDescription* const returned = ReturnOf(call))
            m_places.push_back(*returned);
        for (const ParameterDescription& parameter : ParametersOf(call))
            m_places.push_back(parameter);
        std::size_t fixed = 8;
        for (const ParameterDescription& place : m_places)
            fixed = std::max<std::size_t>(fixed, place.at + (place.form == ParameterForm::Scalar ? place.bytes : 16u));
        bytes.resize(RoundUp8(fixed));
        (Add(args), ...);
        bytes.resize(RoundUp8(bytes.size()));
    }

    std::uint32_t id;
    /// From the record's start on; the header is left to the writer.
    std::vector<std::uint8_t> bytes;

    /// Gives each pointer that can have them contents of `size` bytes: this number, then zeros.
    void FillPointers(std::size_t size, std::int32_t number)
    {
        std::vector<std::uint8_t> contents(size);
        std::memcpy(contents.data(), &number, sizeof number);
        for (m_next = 0; m_next < m_places.size();) {
            const ParameterForm form = m_places[m_next].form;
            if (form == ParameterForm::Scalar || form == ParameterForm::Opaque)
                ++m_next;
            else
                Add(contents);
        }
        bytes.resize(RoundUp8(bytes.size()));
    }

    void AppendTo(CaptureWriter& writer) const
    {
        std::uint8_t* const at = writer.Begin(id, bytes.size());
        ASSERT_NE(at, nullptr);
        std::memcpy(at + 8, bytes.data() + 8, bytes.size() - 8);
        writer.End();
    }

private:
    template <class T> void Put(std::size_t at, const T& value)
    {
        std::memcpy(bytes.data() + at, &value, sizeof value);
    }

    /// A scalar, or for a pointer the value that has no contents.
    template <class T>
    requires std::is_arithmetic_v<T>
    void Add(T value)
    {
        const ParameterDescription& place = m_places.at(m_next++);
        if (place.form != ParameterForm::Scalar)
            Put(place.at, PointerSlot{static_cast<std::uint64_t>(value), 0, 0});
        else if (place.code == 'f')
            Put(place.at, static_cast<float>(value));
        else if (place.bytes == 8)
            Put(place.at, static_cast<std::int64_t>(value));
        else
            Put(place.at, static_cast<std::uint32_t>(static_cast<std::int64_t>(value)));
    }
    void Contents(const void* data, std::size_t size)
    {
        const auto offset = static_cast<std::uint32_t>(RoundUp8(bytes.size()));
        bytes.resize(offset + size);
        if (size > 0)
            std::memcpy(bytes.data() + offset, data, size);
        Put(m_places.at(m_next++).at, PointerSlot{0x7000, static_cast<std::uint32_t>(size), offset});
    }
    template <class T> void Add(const std::vector<T>& values) { Contents(values.data(), values.size() * sizeof(T)); }
    void Add(const char* text) { Contents(text, std::strlen(text) + 1); }
    void Add(const std::vector<std::string>& strings)
    {
        std::vector<std::uint8_t> contents(strings.size() * 8);
        for (std::size_t i = 0; i < strings.size(); ++i) {
            const std::uint64_t offset = contents.size();
            std::memcpy(contents.data() + i * 8, &offset, sizeof offset);
            contents.insert(contents.end(), strings[i].c_str(), strings[i].c_str() + strings[i].size() + 1);
        }
        Contents(contents.data(), contents.size());
    }

    std::vector<ParameterDescription> m_places;
    std::size_t m_next = 0;
};

/// A chunk that is not compressed.
inline std::vector<std::uint8_t> PlainChunk(ChunkKind kind, const std::vector<std::uint8_t>& body)
{
    std::vector<std::uint8_t> bytes(sizeof(ChunkHeader) + body.size());
    ChunkHeader header = {};
    header.magic = ChunkMagic;
    header.kind = static_cast<std::uint32_t>(kind);
    header.rawBytes = header.storedBytes = static_cast<std::uint32_t>(body.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    if (!body.empty())
        std::memcpy(bytes.data() + sizeof header, body.data(), body.size());
    header.checksum = ChunkChecksum(bytes.data(), body.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

/// First byte after the call table of a capture.
inline std::size_t RecordsOffset(const std::vector<std::uint8_t>& capture)
{
    ChunkHeader table;
    std::memcpy(&table, capture.data() + HeaderBytes, sizeof table);
    return HeaderBytes + sizeof table + table.storedBytes;
}

/// The header and call table of a capture, and a chunk of the given records after them.
inline std::vector<std::uint8_t> WithRecords(const std::vector<std::uint8_t>& capture,
                                             const std::vector<std::uint8_t>& records)
{
    std::vector<std::uint8_t> bytes(capture.begin(),
                                    capture.begin() + static_cast<std::ptrdiff_t>(RecordsOffset(capture)));
    const std::vector<std::uint8_t> chunk = PlainChunk(ChunkKind::Records, records);
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
    return bytes;
}

inline void ReplayAll(CaptureFile& capture)
{
    while (capture.GetFrameProcessor()->ProcessNextFrame()) {
    }
}

/// A folder for captures that goes away with the test.
class CaptureTest : public ::testing::Test {
protected:
    CaptureTest() : writer(CaptureWriter::Create(path, header, openError)) { EXPECT_NE(writer, nullptr) << openError; }

    template <class... Args> void Call(CallId call, const Args&... args)
    {
        CallRecord(call, args...).AppendTo(*writer);
    }

    void Finish()
    {
        std::string error;
        ASSERT_TRUE(writer->Finish(error)) << error;
    }
    /// Finishes the capture and opens it; what the reader reports goes to `reports`.
    std::unique_ptr<CaptureFile> Open(Preload preload = Preload::No)
    {
        if (writer)
            Finish();
        auto capture = CaptureFile::Open(
            path, preload, [this](const std::string& line) { reports.push_back(line); }, openError);
        return capture;
    }
    /// Replays all of the capture with these adapters and answers the number of frames.
    std::uint32_t Replay(GLAdapter* gl, EGLAdapter* egl = nullptr)
    {
        const std::unique_ptr<CaptureFile> capture = Open();
        if (!capture)
            return 0;
        if (gl)
            capture->SetAdapter(gl);
        if (egl)
            capture->SetAdapter(egl);
        ReplayAll(*capture);
        skippedCalls = capture->SkippedCalls();
        return capture->GetCurrentFrame();
    }

    std::vector<std::uint8_t> FileBytes() const
    {
        const std::string bytes = ReadFile(path);
        return {bytes.begin(), bytes.end()};
    }
    void SetFileBytes(const std::vector<std::uint8_t>& bytes) const
    {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    TestFolder folder;
    std::string path = folder.File("test.glcap");
    CaptureHeader header;
    std::string openError;
    std::unique_ptr<CaptureWriter> writer;
    std::vector<std::string> reports;
    std::uint64_t skippedCalls = 0;
};

} // namespace Data
