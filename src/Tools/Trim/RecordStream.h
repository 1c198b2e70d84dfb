#pragma once

#include <string>

#include "Data/CaptureSource.h"
#include "Data/ChunkQueue.h"
#include "Data/Diagnostics.h"
#include "Data/RecordCursor.h"

namespace Tools::Trim {

/// The records of a capture, one after the other, from its start. One stream at a time on a source.
class RecordStream {
public:
    RecordStream(Data::CaptureSource& source, Data::Diagnostics& diagnostics)
        : m_diagnostics(diagnostics), m_queue(source, Data::Preload::No)
    {
        m_diagnostics.position = {};
    }

    /// Moves to the next record. False at the end, and where the capture is damaged, which is reported.
    bool Next()
    {
        while (!m_cursor.Next()) {
            std::string trouble = m_cursor.IsDamaged() ? m_cursor.Damage() : "";
            m_queue.Recycle(std::move(m_chunk));
            m_chunk = {};
            if (trouble.empty() && m_queue.Next(m_chunk, trouble)) {
                m_cursor = Data::RecordCursor(m_chunk);
                m_diagnostics.position.chunkOffset = m_chunk.fileOffset;
                continue;
            }
            if (!trouble.empty())
                m_diagnostics.File(trouble);
            return false;
        }
        m_diagnostics.position.recordOffset = m_cursor.Offset();
        if (m_cursor.Header().id < Data::firstBuiltInId)
            ++m_diagnostics.position.call;
        return true;
    }

    [[nodiscard]] const Data::RecordCursor& Record() const { return m_cursor; }
    /// To be told of each frame end, for messages.
    void CountFrame()
    {
        ++m_diagnostics.position.frame;
        m_diagnostics.position.call = 0;
    }

private:
    Data::Diagnostics& m_diagnostics;
    Data::RecordCursor m_cursor;
    Data::Chunk m_chunk;
    Data::ChunkQueue m_queue;
};

} // namespace Tools::Trim
