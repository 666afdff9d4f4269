#include "process.h"

#include <csignal>

#include <filesystem>
#include <fstream>
#include <string>

namespace soak {

bool is_running(pid_t process) {
    return kill(process, 0) == 0;
}

Footprint footprint_of(pid_t process) {
    Footprint footprint;
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream status(folder + "/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:") status >> footprint.residentKilobytes;
    std::error_code gone;
    for (auto entry = std::filesystem::directory_iterator(folder + "/fd", gone);
         !gone && entry != std::filesystem::directory_iterator(); entry.increment(gone))
        ++footprint.descriptors;
    return footprint;
}

}  // namespace soak
