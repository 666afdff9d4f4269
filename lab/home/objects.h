// The commands about the home's objects, and the views of relations and of the database itself.
#pragma once

#include <string>

#include "home/context.h"

namespace lab {

int list_objects(Context& context);
// Asks FSMCore to perform `action`, so that neighbours hear of the change.
int act_on_object(Context& context, const std::string& id, const std::string& action, const std::string& value);
// Changes the stored value and nothing else; FSMCore is not needed and nobody is told.
int set_quietly(Context& context, const std::string& id, const std::string& value);
int list_relations(Context& context);
// Runs any statements and prints the rows of the last one that has some.
int run_sql(Context& context, const std::string& sql);

}  // namespace lab
