// A record of what a service was asked, one line per entry, for tests and for the curious. A line is in the file
// before the request is carried out.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace lab {

class Journal {
  public:
    // Appends to the file at `path`; an empty path keeps no journal.
    explicit Journal(const std::string& path);
    // False when the file could not be opened.
    bool good() const { return good_; }
    // One line: the fields, escaped, divided by tabs.
    void write(const std::vector<std::string>& fields);

  private:
    std::ofstream file_;
    bool good_ = true;
};

}  // namespace lab
