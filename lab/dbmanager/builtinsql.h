// The schema and the demo home as they were when the program was built (lab/schema.sql, lab/demo-home.sql).
#pragma once

namespace lab {

extern const char* const builtin_schema;
extern const char* const builtin_home;

}  // namespace lab
