// The home's objects and users as FSMCore sees them, in the database that DBManager serves to everyone else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/database.h"

namespace lab {

// A runner to be told that an object changed.
struct Follower {
    long object_id = -1;  // the object that the relation names: a complex parent when one of its children changed
    long client_browser_id = -1;
    long runner_id = -1;
    uint16_t port = 0;
};

struct ActionOutcome {
    long status = 0;
    bool changed = false;
    std::string value;  // after the action
};

class Objects {
  public:
    // Borrows the database.
    explicit Objects(Database& database) : database_(database) {}

    // True when `credential` is the one stored for that user; an empty one never is.
    bool check_login(const std::string& username, const std::string& credential);
    // How many client browsers are logged in.
    size_t count_logins();
    // Performs an action and stores the value. `check_allowed`: only what the object's type allows.
    ActionOutcome perform(long object_id, const std::string& action, const std::string& value, bool check_allowed);
    // Who follows the object, or the complex object that it is an element of, and has a runner with a port.
    std::vector<Follower> followers(long object_id);

  private:
    Database& database_;
};

}  // namespace lab
