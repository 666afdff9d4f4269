// What DBManager does with a request: check it, run the statement on the home's database, frame the answer.
#pragma once

#include <string>
#include <string_view>

#include "common/database.h"
#include "common/journal.h"
#include "common/textserver.h"

namespace lab {

class DbService : public TextService {
  public:
    // Borrows both, which must live longer.
    DbService(Database& database, Journal& journal) : database_(database), journal_(journal) {}

    bool complete(std::string_view received) const override;
    void note(const std::string& request) override;
    std::string answer(const std::string& request, const Fault& fault) override;

  private:
    Database& database_;
    Journal& journal_;
};

}  // namespace lab
