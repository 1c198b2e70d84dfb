#include "Recorder/Launcher/Steering.h"

namespace Recorder {

namespace {

const WriterProcess* volatile steered = nullptr;
volatile sig_atomic_t snapshotFrames = 1;

void OnSignal(int signal, siginfo_t* info, void*)
{
    if (steered == nullptr)
        return;
    const bool hasFrames = info->si_code == SI_QUEUE && info->si_value.sival_int > 0;
    const Command command = signal == SIGUSR1 ? Command::Start : signal == SIGUSR2 ? Command::Stop : Command::Snapshot;
    steered->Ask(command, static_cast<std::uint32_t>(hasFrames ? info->si_value.sival_int : snapshotFrames));
}

} // namespace

std::array<int, 3> SteeringSignals()
{
    return {SIGUSR1, SIGUSR2, SIGRTMIN};
}

Steering::Steering(const WriterProcess& writer, const RecordingOptions& options)
{
    snapshotFrames = static_cast<sig_atomic_t>(options.wanted.snapshot);
    steered = &writer;
    struct sigaction action = {};
    action.sa_sigaction = &OnSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    for (const int signal : SteeringSignals())
        sigaction(signal, &action, nullptr);
    if (options.takesKeys)
        m_keys.emplace([&writer, frames = options.wanted.snapshot](Command command) { writer.Ask(command, frames); });
}

Steering::~Steering()
{
    m_keys.reset();
    steered = nullptr;
}

void Steering::Abandon()
{
    if (steered != nullptr)
        steered->Abandon();
}

} // namespace Recorder
