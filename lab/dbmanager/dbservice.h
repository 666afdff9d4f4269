// What DBManager does with a request: check it, run the statement on the home's database, frame the answer.
#pragma once

#include <string>
#include <string_view>

#include "common/database.h"
#include "common/faults.h"
#include "common/journal.h"

namespace lab {

class DbService {
  public:
    // Borrows both, which must live longer.
    DbService(Database& database, Journal& journal) : database_(database), journal_(journal) {}

    static bool complete(std::string_view received);
    void note(const std::string& request);
    std::string answer(const std::string& request, const Fault& fault);

  private:
    Database& database_;
    Journal& journal_;
};

}  // namespace lab
