#include "Runner.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

#include "../Data/TouchingAdapters.h"
#include "Host/Options/Options.h"
#include "Host/Session.h"
#include "Interfaces/Core.h"
#include "Mutator.h"

namespace Mutate {

namespace {

using Clock = std::chrono::steady_clock;

/// Replay has ways of its own where calls are missing, errors are not asked for, and pictures are read back.
const std::vector<std::string> optionSets[] = {
    {},
    {},
    {"-verify"},
    {"-skiperrorcheck"},
    {"-skipapi", "glBindBuffer"},
    {"-skipapi", "glBindVertexArray,glPixelStorei"},
    {"-skipapi", "glVertexAttribPointer,glDeleteBuffers"},
    {"-skipapi", "glBufferData,glUnmapBuffer,glDisableVertexAttribArray"},
};

std::string LastLine(const std::string& file, const std::string& mark)
{
    std::ifstream lines(file);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find(mark);
        if (at != std::string::npos)
            found = line.substr(at);
    }
    return found;
}

} // namespace

Runner::Runner(const std::vector<Recording>& captures, Orders orders)
    : m_captures(captures), m_orders(std::move(orders))
{
    std::string pattern = (std::filesystem::temp_directory_path() / "mutate-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        std::perror("mutate: a folder for mutants");
        std::exit(4);
    }
    m_folder = pattern;
}

Runner::~Runner()
{
    std::error_code error;
    std::filesystem::remove_all(m_folder, error);
}

std::string Runner::FileOf(std::uint64_t seed) const
{
    return m_folder + "/" + std::to_string(seed) + ".glcap";
}

pid_t Runner::Start(std::uint64_t seed, const std::string& log) const
{
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0)
        Replay(seed, log);
    return process;
}

void Runner::Replay(std::uint64_t seed, const std::string& log) const
{
    const int output = open(log.empty() ? "/dev/null" : log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    Mutator mutator(m_captures, seed);
    std::string error;
    if (!mutator.Mutant().Save(FileOf(seed), error)) {
        std::fprintf(stderr, "mutate: %s\n", error.c_str());
        _exit(6);
    }
    // The program's own limit comes first; what goes beyond the other one hangs.
    const std::string seconds = std::to_string(std::chrono::duration<double>(m_orders.limit).count() / 2);
    std::vector<std::string> arguments = {"playback", "-headless", "-timelimit", seconds, FileOf(seed)};
    if (!m_orders.driver.empty())
        arguments.insert(arguments.end(), {"-driver", m_orders.driver});
    if (!log.empty())
        arguments.insert(arguments.end(), {"-loglevel", "5"});
    const std::vector<std::string>& more = optionSets[mutator.Below(std::size(optionSets))];
    arguments.insert(arguments.end(), more.begin(), more.end());

    // Adapters that use every byte which the reader hands out.
    if (const auto capture = Data::CaptureFile::Open(FileOf(seed), Data::Preload::No, nullptr, error))
        Data::PlayTouching(*capture);
    Core::Log::SetFlush(!log.empty());
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    const auto parsed = Host::ParseOptions(static_cast<int>(pointers.size()), pointers.data());
    const auto* options = std::get_if<Host::Options>(&parsed);
    if (!options)
        _exit(2);
    int status = 0;
    {
        Host::Session session(*options);
        status = static_cast<int>(session.Run());
    }
    _exit(status);
}

bool Runner::Run()
{
    const std::uint64_t end = m_orders.firstSeed + m_orders.count;
    for (std::uint64_t seed = m_orders.firstSeed; seed < end || !m_running.empty();) {
        while (seed < end && m_running.size() < m_orders.jobs) {
            m_running[Start(seed, "")] = {seed, Clock::now() + m_orders.limit};
            ++seed;
        }
        Reap();
    }
    std::printf("%llu mutants:", static_cast<unsigned long long>(m_orders.count));
    for (const auto& [status, count] : m_ends)
        std::printf(" %llu ended with %d,", static_cast<unsigned long long>(count), status);
    std::uint64_t troubles[2] = {};
    for (const auto& [call, count] : m_crashes)
        troubles[0] += count;
    for (const auto& [call, count] : m_hangs)
        troubles[1] += count;
    std::printf(" %llu crashed, %llu hung.\n", static_cast<unsigned long long>(troubles[0]),
                static_cast<unsigned long long>(troubles[1]));
    for (const auto& [call, count] : m_crashes)
        std::printf("  %4llu crashes in %s\n", static_cast<unsigned long long>(count), call.c_str());
    for (const auto& [call, count] : m_hangs)
        std::printf("  %4llu hangs in %s\n", static_cast<unsigned long long>(count), call.c_str());
    return m_crashes.empty() && m_hangs.empty();
}

void Runner::Reap()
{
    int status = 0;
    if (const pid_t process = waitpid(-1, &status, WNOHANG); process > 0) {
        const std::uint64_t seed = m_running.at(process).seed;
        m_running.erase(process);
        Judge(seed, status, false);
        return;
    }
    for (const auto& [process, job] : m_running) {
        if (Clock::now() > job.end) {
            const std::uint64_t seed = job.seed;
            kill(process, SIGKILL);
            waitpid(process, &status, 0);
            m_running.erase(process);
            Judge(seed, status, true);
            return;
        }
    }
    usleep(500);
}

void Runner::Judge(std::uint64_t seed, int status, bool isHang)
{
    if (!isHang && WIFEXITED(status)) {
        ++m_ends[WEXITSTATUS(status)];
    } else {
        const std::string call = LastCall(seed);
        ++(isHang ? m_hangs : m_crashes)[call];
        const std::string what = isHang ? "did not end" : std::string("crashed, ") + strsignal(WTERMSIG(status));
        const std::string& original = m_captures[seed % m_captures.size()].path;
        std::printf("seed %llu (%s): %s, in %s\n", static_cast<unsigned long long>(seed), original.c_str(),
                    what.c_str(), call.c_str());
        std::fflush(stdout);
        if (!m_orders.keep.empty()) {
            std::error_code error;
            std::filesystem::create_directories(m_orders.keep, error);
            for (const std::string& file : {FileOf(seed), FileOf(seed) + ".log"})
                std::filesystem::copy(file, m_orders.keep, std::filesystem::copy_options::overwrite_existing, error);
        }
    }
    std::error_code error;
    std::filesystem::remove(FileOf(seed), error);
    std::filesystem::remove(FileOf(seed) + ".log", error);
}

Runner::End Runner::WaitFor(pid_t process) const
{
    int status = 0;
    for (const auto end = Clock::now() + m_orders.limit; Clock::now() < end; usleep(1000))
        if (waitpid(process, &status, WNOHANG) == process)
            return WIFEXITED(status) ? End::Fine : End::Crash;
    kill(process, SIGKILL);
    waitpid(process, &status, 0);
    return End::Hang;
}

std::string Runner::LastCall(std::uint64_t seed) const
{
    const std::string log = FileOf(seed) + ".log";
    if (WaitFor(Start(seed, log)) == End::Fine)
        return "something that does not come again";
    std::string summary = LastLine(log, "SUMMARY: ");
    if (!summary.empty())
        return summary;
    const std::string gl = LastLine(log, "gl");
    return gl.empty() ? "something in front of the first call" : gl;
}

} // namespace Mutate
