#include "RecordedClient.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <sys/wait.h>

#include "Client.h"

namespace Recorder {

namespace {

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> Containing(std::vector<std::string> lines, const std::string& part)
{
    std::erase_if(lines, [&part](const std::string& line) { return line.find(part) == std::string::npos; });
    return lines;
}

std::string ThisProgram()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

} // namespace

std::map<std::string, ClientBody>& Clients()
{
    static std::map<std::string, ClientBody> clients;
    return clients;
}

Outcome RecorderTest::Record(const std::string& client, const std::string& options)
{
    return Run(PLAYBACK_RECORD " -o capture.glcap " + options + " -- " + ThisProgram() + " --client " + client);
}

Outcome RecorderTest::Run(const std::string& command)
{
    const std::string environment = driver == Driver::Fake ? "LD_LIBRARY_PATH=" FAKE_DRIVER_DIR
                                                             " PLAYBACK_FAKE_LOG=driver.log"
                                                           : "EGL_PLATFORM=surfaceless";
    const std::string script =
        "cd " + folder.string() + " && export " + environment + " PROGRAM=" + ThisProgram() + "; " + command;
    std::ofstream(folder / "script") << script << "\n";
    const int status = std::system(
        ("sh " + (folder / "script").string() + " > " + (folder / "out").string() + " 2> " + (folder / "err").string())
            .c_str());
    return {WEXITSTATUS(status), ReadFile(folder / "out"), ReadFile(folder / "err")};
}

std::vector<std::string> RecorderTest::Dump(const std::string& file)
{
    std::vector<std::string> lines = Lines(Run(PLAYBACK_INFO " --dump " + file).out);
    for (std::string& line : lines) {
        // Place, thread and context come first.
        for (int word = 0; word < 3; ++word)
            line.erase(0, line.find(' ') + 1);
    }
    return lines;
}

std::vector<std::string> RecorderTest::Dump(const std::string& part, const std::string& file)
{
    return Containing(Dump(file), part);
}

std::vector<std::string> RecorderTest::DriverLog(const std::string& part)
{
    return Containing(Lines(ReadFile(folder / "driver.log")), part);
}

std::vector<std::string> After(const std::vector<std::string>& list, const std::string& first)
{
    const auto found =
        std::ranges::find_if(list, [&first](const std::string& line) { return line.starts_with(first); });
    return found == list.end() ? std::vector<std::string>{} : std::vector<std::string>(found + 1, list.end());
}

} // namespace Recorder

int main(int argc, char** argv)
{
    if (argc == 3 && std::string(argv[1]) == "--client")
        return Recorder::Clients().at(argv[2])();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
