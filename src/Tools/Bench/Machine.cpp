#include "Tools/Bench/Machine.h"

#include <fstream>

#include <sys/utsname.h>
#include <unistd.h>

namespace Tools {

namespace {

/// Up to the first zero or line feed; empty where there is no such file.
std::string FirstLine(const char* path)
{
    std::string line;
    std::ifstream file(path);
    std::getline(file, line);
    return line.substr(0, line.find('\0'));
}

/// The value of a line of /proc/cpuinfo.
std::string CpuInfo(const std::string& name)
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (const std::size_t colon = line.find(": "); line.starts_with(name) && colon != std::string::npos)
            return line.substr(colon + 2);
    return {};
}

/// Boards with a device tree tell their own name, and of the processor only numbers.
std::string CpuModel()
{
    std::string model = CpuInfo("model name");
    if (model.empty())
        model = FirstLine("/proc/device-tree/model");
    if (const std::string part = CpuInfo("CPU part"); model.empty() && !part.empty())
        model = "CPU part " + part + " of implementer " + CpuInfo("CPU implementer");
    return model;
}

} // namespace

std::map<std::string, std::string> DescribeMachine()
{
    std::map<std::string, std::string> machine;
    utsname system = {};
    if (uname(&system) == 0) {
        machine["architecture"] = system.machine;
        machine["kernel"] = std::string(system.sysname) + " " + system.release;
    }
    machine["cpu"] = CpuModel();
    if (const long count = sysconf(_SC_NPROCESSORS_ONLN); count > 0)
        machine["cpus"] = std::to_string(count);
    machine["governor"] = FirstLine("/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor");
    std::erase_if(machine, [](const auto& entry) { return entry.second.empty(); });
    return machine;
}

double LoadAverage()
{
    double load = 0;
    return getloadavg(&load, 1) == 1 ? load : -1;
}

} // namespace Tools
