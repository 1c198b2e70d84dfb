#include "Recording.h"

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/CaptureWriter.h"
#include "Data/Records/RecordCursor.h"

namespace Mutate {

bool Recording::Load(const std::string& file, std::string& error)
{
    path = file;
    const auto source = Data::CaptureSource::Open(file, error);
    if (!source)
        return false;
    header = source->Header();
    Data::Chunk chunk;
    for (const Data::IndexEntry& entry : source->Chunks()) {
        error = source->ReadChunk(entry, chunk);
        if (!error.empty())
            return false;
        for (Data::RecordCursor cursor(chunk); cursor.Next();) {
            Record record{{cursor.Record(), cursor.Record() + cursor.Header().bytes}};
            if (std::uint32_t id = record.Id(); id < Data::FirstBuiltInId) {
                id = id < source->Calls().size() ? source->Calls()[id].known : Data::callCount;
                if (id == Data::callCount)
                    continue;
                record.Set(offsetof(Data::RecordHeader, id), id);
            }
            records.push_back(std::move(record));
        }
    }
    return true;
}

bool Recording::Save(const std::string& file, std::string& error) const
{
    const auto writer = Data::CaptureWriter::Create(file, header, error);
    if (!writer)
        return false;
    for (const Record& record : records) {
        const auto id = static_cast<Data::RecordId>(record.Id());
        if (id == Data::RecordId::FrameEnd) {
            writer->FrameEnd();
        } else if (id == Data::RecordId::Thread && record.bytes.size() >= sizeof(Data::ThreadRecord)) {
            // The writer begins its chunks with the thread.
            writer->SetThread(record.Get<Data::ThreadRecord>(0).thread);
        } else if (std::uint8_t* const at = writer->Begin(record.Id(), record.bytes.size())) {
            std::memcpy(at + sizeof(Data::RecordHeader), record.bytes.data() + sizeof(Data::RecordHeader),
                        record.bytes.size() - sizeof(Data::RecordHeader));
            writer->End();
        }
    }
    return writer->Finish(error);
}

} // namespace Mutate
