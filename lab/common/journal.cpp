#include "common/journal.h"

#include "common/text.h"

namespace lab {

Journal::Journal(const std::string& path) {
    if (!path.empty()) {
        file_.open(path, std::ios::app | std::ios::binary);
        good_ = file_.is_open();
    }
}

void Journal::write(const std::vector<std::string>& fields) {
    if (!file_.is_open()) return;
    std::string line;
    for (const std::string& field : fields) {
        line += line.empty() ? "" : "\t";
        line += escaped(field);
    }
    file_ << line << '\n' << std::flush;
}

}  // namespace lab
