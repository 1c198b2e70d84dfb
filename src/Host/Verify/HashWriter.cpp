#include "Host/Verify/HashWriter.h"

#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include <GLES3/gl32.h>

#include "Data/Capture/CaptureWriter.h"
#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordWalk.h"
#include "Data/Records/References.h"
#include "Data/State/StateModel.h"
#include "Host/Advice/DriverProbe.h"
#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Playback/Names/GLResourceTable.h"
#include "Replay/LiveReplay.h"
#include "Replay/PictureReader.h"
#include "Replay/StatusLine.h"
#include "Util/FramebufferReader.h"
#include "Util/ImageFile.h"
#include "Util/OutputFile.h"

namespace Host {

namespace {

using Data::CallId;
using Data::RecordId;

/// The number of the live driver in what is written; those that the capture has already follow.
constexpr std::uint32_t Own = 1;

/// What a live framebuffer of the current context shows, as a PNG file; empty where that cannot be.
std::vector<std::uint8_t> TakePicture(unsigned int framebuffer)
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    const auto bound = Core::BindScoped(gl, gl.glBindFramebuffer, Core::DrawFramebuffer, framebuffer);
    const Util::FramebufferReader::Result read = Util::FramebufferReader().ReadColor();
    if (!read.pixels)
        return {};
    const std::optional<Util::Image> image = Util::ToImage(
        read.pixels->width, read.pixels->height, read.pixels->data.data(), read.pixels->format, read.pixels->type);
    std::vector<std::uint8_t> png = image ? Util::EncodePng(*image) : std::vector<std::uint8_t>();
    return png.size() <= Data::MaxReferencePictureBytes ? png : std::vector<std::uint8_t>();
}

/// Replays a capture record by record, and writes what it read and what came of it.
class HashWriter {
public:
    HashWriter(Data::CaptureSource& source, Data::Diagnostics& diagnostics, Replay::LiveReplay& replay,
               const HashRequest& request, Data::DriverName driver, Data::CaptureWriter& writer)
        : m_source(source), m_diagnostics(diagnostics), m_replay(replay), m_request(request),
          m_driver(std::move(driver)), m_writer(writer), m_reader(source, diagnostics), m_references(diagnostics)
    {
        m_replay.SetStateModel(&m_model);
    }

    /// False when the capture cannot be read to its end or copied, which is reported.
    bool Write(const std::function<void(std::uint32_t frame)>& progress)
    {
        m_writer.SetTime(0);
        m_writer.ReferenceDriver(Own, m_driver.renderer, m_driver.version);
        while (m_reader.Next()) {
            if (m_chunks != m_reader.ChunksBegun()) {
                m_chunks = m_reader.ChunksBegun();
                m_replay.ForgetChunk();
            }
            if (!Take(m_reader.Record()))
                return false;
            if (m_reader.Record().Is(RecordId::FrameEnd))
                progress(m_writer.Frames());
        }
        PutSwap(false);
        return m_reader.IsWhole();
    }

    [[nodiscard]] std::string Report() const
    {
        const auto count = [](std::uint64_t number, const char* what) {
            return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
        };
        return "hashes of " + count(m_frames, "frame") +
               (m_request.ofActions ? " and " + count(m_actions, "draw") + " and the like" : "") +
               (m_request.pictureEvery != 0 ? ", and " + count(m_pictures, "picture") + "," : "") + " by " +
               m_driver.Text();
    }

private:
    /// A frame of this driver, read before it ends.
    struct Frame {
        Data::ReferenceHashRecord hash;
        std::vector<std::uint8_t> png;
    };
    /// A swap that was replayed: whether it ends the frame is known by the record after it.
    struct HeldSwap {
        Frame frame;
        std::vector<std::uint8_t> record;
    };

    bool Take(const Data::RecordCursor& record)
    {
        if (Data::ThreadRecord thread; record.Is(RecordId::Thread) && record.Read(thread)) {
            TakeThread(thread.thread);
            return true;
        }
        PutSwap(record.Is(RecordId::FrameEnd));
        if (record.Header().id < Data::FirstBuiltInId)
            return TakeCall(record);
        if (Data::GoesWithNextCall(record.Header().id)) {
            m_replay.Other(record);
            m_ahead.emplace_back(record.Bytes().begin(), record.Bytes().end());
        } else if (!TakeReference(record)) {
            TakeOther(record);
        }
        return true;
    }

    /// Each chunk begins with its thread, which is mostly the one that it was.
    void TakeThread(std::uint32_t thread)
    {
        if (thread == m_thread)
            return;
        PutSwap(false);
        m_thread = thread;
        m_replay.SetThread(thread);
        m_writer.SetThread(thread);
    }

    bool TakeCall(const Data::RecordCursor& record)
    {
        const std::optional<CallId> call = m_source.CallOf(record.Header());
        if (!call) {
            m_diagnostics.File("has calls that this program does not know and cannot copy");
            return false;
        }
        std::vector<std::uint8_t> kept(record.Bytes().begin(), record.Bytes().end());
        const Data::CallArguments arguments(*call, Data::RecordView(kept.data()));
        if (*call == CallId::eglSwapBuffers && arguments.Returned() != 0)
            m_swap = {ReadFrame(0, arguments.Unsigned(1)), {}};
        m_replay.Call(*call, record.Record());
        if (m_swap) {
            m_swap->record = std::move(kept);
            return true;
        }
        PutCall(*call, kept);
        if (m_request.ofActions && Data::ActionOf(*call) != Data::ActionKind::None && m_model.HasContext())
            PutAction(m_model.Object(m_model.Bound(Data::State::Framebuffer, 0, 1)).name);
        return true;
    }

    /// References of the same driver are dropped, and those of others get new numbers. False for other records.
    bool TakeReference(const Data::RecordCursor& record)
    {
        if (m_references.Take(record)) {
            for (const auto& [number, name] : m_references.Drivers())
                if (!m_numbers.contains(number))
                    PutDriver(number, name);
        } else if (record.Is(RecordId::ReferenceHash)) {
            if (auto hash = m_references.HashOf(record); hash && Renumber(hash->driver))
                m_writer.PutReferenceHash(*hash);
        } else if (record.Is(RecordId::ReferencePicture)) {
            if (auto picture = m_references.PictureOf(record); picture && Renumber(picture->driver))
                m_writer.ReferencePicture({{}, picture->driver, picture->framebuffer, picture->surface, 0, {}},
                                          picture->png);
        } else {
            return false;
        }
        return true;
    }

    void PutDriver(std::uint32_t number, const Data::DriverName& name)
    {
        // Own stands for none here, as of one more than there can be.
        const bool isKept = name != m_driver && m_lastNumber < Data::MaxReferenceDrivers;
        m_numbers[number] = isKept ? ++m_lastNumber : Own;
        if (isKept)
            m_writer.ReferenceDriver(m_numbers[number], name.renderer, name.version);
    }

    bool Renumber(std::uint32_t& driver) const
    {
        if (driver != 0)
            driver = m_numbers.at(driver);
        return driver != Own;
    }

    void TakeOther(const Data::RecordCursor& record)
    {
        if (Data::FrameEndRecord end; record.Is(RecordId::FrameEnd) && record.Read(end)) {
            m_writer.SetTime(end.timeUs);
            m_writer.FrameEnd();
            return;
        }
        if (Data::FramePictureRecord picture;
            record.Is(RecordId::FramePicture) && record.Read(picture) && picture.state != Data::PictureState::None)
            Put(ReadFrame(picture.framebuffer, 0));
        Data::RecordCursor inner = Data::UnfinishedRecords(record);
        while (inner.Next()) {
            Data::RecordHeader header = inner.Header();
            const std::optional<CallId> call = m_source.CallOf(header);
            if (header.id >= Data::FirstBuiltInId || !call)
                continue;
            header.id = static_cast<std::uint32_t>(*call);
            std::memcpy(inner.Record(), &header, sizeof header);
        }
        m_replay.Other(record);
        m_writer.Copy(record.Bytes().data());
    }

    /// The live framebuffer of a captured one; nothing where there is none.
    [[nodiscard]] std::optional<unsigned int> FindLive(std::uint32_t framebuffer) const
    {
        const Playback::GLResourceTable& names = m_replay.Names();
        if (framebuffer == 0)
            return 0;
        return names.HasGLFramebuffer(framebuffer) ? std::optional(names.GetValueGLFramebuffer(framebuffer))
                                                   : std::nullopt;
    }

    Data::ReferenceHashRecord Hash(Data::ReferenceOf of, std::uint32_t framebuffer, std::uint32_t surface)
    {
        const std::optional<unsigned int> live = FindLive(framebuffer);
        const Replay::Picture picture = live ? m_pictureReader.Read(*live) : Replay::Picture();
        return {{},
                Own,
                of,
                framebuffer,
                surface,
                picture.hash ? picture.width : 0,
                picture.hash ? picture.height : 0,
                picture.hash.value_or(0),
                picture.hash ? Data::PictureState::Hashed : Data::PictureState::None,
                0};
    }

    Frame ReadFrame(std::uint32_t framebuffer, std::uint32_t surface)
    {
        Frame frame = {Hash(Data::ReferenceOf::Frame, framebuffer, surface), {}};
        if (frame.hash.state == Data::PictureState::Hashed && m_request.pictureEvery != 0 &&
            (m_writer.Frames() + 1) % m_request.pictureEvery == 0)
            frame.png = TakePicture(*FindLive(framebuffer));
        return frame;
    }

    void PutAction(std::uint32_t framebuffer)
    {
        const Data::ReferenceHashRecord hash = Hash(Data::ReferenceOf::Action, framebuffer, 0);
        if (hash.state != Data::PictureState::Hashed)
            return;
        ++m_actions;
        m_writer.PutReferenceHash(hash);
    }

    void Put(const Frame& frame)
    {
        ++m_frames;
        m_writer.PutReferenceHash(frame.hash);
        if (frame.png.empty())
            return;
        ++m_pictures;
        m_writer.ReferencePicture({{}, Own, frame.hash.framebuffer, frame.hash.surface, 0, {}}, frame.png);
    }

    void PutSwap(bool endsFrame)
    {
        if (!m_swap)
            return;
        const HeldSwap swap = *std::exchange(m_swap, std::nullopt);
        if (endsFrame)
            Put(swap.frame);
        PutCall(CallId::eglSwapBuffers, swap.record);
    }

    void PutCall(CallId call, const std::vector<std::uint8_t>& record)
    {
        for (const std::vector<std::uint8_t>& ahead : std::exchange(m_ahead, {}))
            m_writer.Copy(ahead.data());
        if (std::uint8_t* const place = m_writer.Begin(static_cast<std::uint32_t>(call), record.size())) {
            constexpr std::size_t Header = sizeof(Data::RecordHeader);
            std::memcpy(place + Header, record.data() + Header, record.size() - Header);
            m_writer.End();
        }
    }

    Data::CaptureSource& m_source;
    Data::Diagnostics& m_diagnostics;
    Replay::LiveReplay& m_replay;
    const HashRequest& m_request;
    const Data::DriverName m_driver;
    Data::CaptureWriter& m_writer;
    Data::StateModel m_model;
    Data::RecordReader m_reader;
    std::size_t m_chunks = 0;
    std::uint32_t m_thread = 0;
    /// Those of the capture, and their numbers in what is written.
    Data::References m_references;
    std::map<std::uint32_t, std::uint32_t> m_numbers;
    std::uint32_t m_lastNumber = Own;
    /// What goes with the next call.
    std::vector<std::vector<std::uint8_t>> m_ahead;
    std::optional<HeldSwap> m_swap;
    Replay::PictureReader m_pictureReader;
    std::uint32_t m_frames = 0;
    std::uint64_t m_actions = 0;
    std::uint32_t m_pictures = 0;
};

} // namespace

Util::Outcome WriteHashes(const std::string& captureFile, const std::string& driverDirectory,
                          const HashRequest& request, bool isQuiet, const std::function<void(const std::string&)>& say)
{
    using Util::ExitStatus;
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(captureFile, error);
    if (!source)
        return Util::Failure{ExitStatus::Unreadable, error};
    if (std::error_code none; std::filesystem::equivalent(captureFile, request.output, none))
        return Util::Failure{ExitStatus::Usage, request.output + ": is the capture that is read"};
    Data::Diagnostics diagnostics(captureFile, [](const std::string& line) {
        Core::Console::Print(Core::LogWarning, false, "playback: %s", line.c_str());
    });
    const auto replay = Replay::LiveReplay::Create(driverDirectory, diagnostics, error);
    if (!replay)
        return Util::Failure{ExitStatus::NoDriver, error};
    const Data::DriverName driver = DriverProbe(nullptr, source->Header().glVersion).Name();
    if (!driver.IsKnown())
        return Util::Failure{ExitStatus::NoDriver, "the driver makes no context that could be asked for its name"};
    Util::OutputFile file(request.output);
    if (!file.Open())
        return Util::Failure{ExitStatus::NotWritten, file.Error()};
    Data::CaptureHeader header = source->Header();
    // The writer adds them.
    header.calls = header.eglCalls = 0;
    const auto writer = Data::CaptureWriter::Create(file.TemporaryPath(), header, error);
    if (!writer)
        return Util::Failure{ExitStatus::NotWritten, request.output + ": " + error};
    std::optional<Replay::StatusLine> status(isQuiet);
    HashWriter hashes(*source, diagnostics, *replay, request, driver, *writer);
    const bool isWhole =
        hashes.Write([&](std::uint32_t frame) { status->Update(frame, source->FrameCount(), frame, false); });
    status.reset();
    if (!writer->Finish(error))
        return Util::Failure{ExitStatus::NotWritten, request.output + ": " + error};
    if (!isWhole)
        return Util::Failure{ExitStatus::Unreadable,
                             captureFile + ": could not be read to its end; nothing was written"};
    if (!file.Commit())
        return Util::Failure{ExitStatus::NotWritten, file.Error()};
    diagnostics.Summary();
    say("Wrote " + request.output + ": " + hashes.Report() + ".");
    return std::nullopt;
}

} // namespace Host
