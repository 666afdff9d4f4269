// The commands about users, their groups and passwords. Each returns the exit status.
#pragma once

#include <string>
#include <vector>

#include "home/context.h"

namespace lab {

int list_users(Context& context);
// `groups`: names or IDs of user groups.
int add_user(Context& context, const std::string& name, const std::string& password,
             const std::vector<std::string>& groups);
int remove_user(Context& context, const std::string& name);
int set_password(Context& context, const std::string& name, const std::string& password);

}  // namespace lab
