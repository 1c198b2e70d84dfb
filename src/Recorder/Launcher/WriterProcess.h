// The process that writes the captures of a recording. It is none of the recorded ones, so what they have recorded is
// written however they end.
#pragma once

#include <sys/types.h>

#include "Recorder/Launcher/Control.h"
#include "Recorder/Launcher/Recording.h"
#include "Recorder/Launcher/WriterServer.h"

namespace Recorder {

/// This program's end of it. The process itself lives until all programs that it writes for have ended, also when this
/// program is killed.
class WriterProcess {
public:
    /// What is told on stderr, beside failures.
    enum class Tells { Nothing, EachBeginning };

    /// Begins to write captures in the folder of `options` for programs that connect there. Before threads are made.
    /// Where that fails, with a reason in errno, programs write themselves. Failures to write are told to `reports`, a
    /// descriptor.
    WriterProcess(const RecordingOptions& options, int reports, Tells tells);
    ~WriterProcess();
    WriterProcess(const WriterProcess&) = delete;
    WriterProcess& operator=(const WriterProcess&) = delete;

    [[nodiscard]] bool IsRunning() const { return m_writer > 0; }
    /// This process is a child of this program, and how it ends will be told.
    void TellStart(pid_t process) const;
    /// Something is asked for, by a key or a signal; `frames` of a snapshot. May be called by a handler of signals.
    void Ask(Command command, std::uint32_t frames) const;
    /// What is still to be cut out is not waited for. May be called by a handler of signals.
    void Abandon() const;
    /// It has ended so, as waitpid has it. Waits until its captures are complete.
    void TellEnd(pid_t process, int status);

private:
    void Tell(const ProcessNews& news) const;

    const ControlSocket m_socket;
    pid_t m_writer = -1;
    int m_control = -1;
    /// It has nothing more to write.
    bool m_isIdle = false;
};

} // namespace Recorder
