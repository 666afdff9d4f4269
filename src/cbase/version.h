// Version texts of the program and of the libraries that it is made of, as the controller's maintenance pages show
// them.
#pragma once

namespace version {

inline constexpr const char* program = "0.0.5 [rev.735]";
inline constexpr const char* libcbase = "0.0.5 [rev.736]";
inline constexpr const char* libenvgtw = "0.0.4 [rev.742]";
inline constexpr const char* libenvdb = "0.0.5 [rev.740]";
inline constexpr const char* libenvcore = "0.0.5 [rev.736]";

}  // namespace version
