#pragma once

#include <string>

namespace CorvelSim {

// One line to stderr, time-stamped; safe from any thread.
void logLine(const std::string& line);

} // namespace CorvelSim
