// What shells complete the program's command line with. Names of outputs, presets and settings they ask of
// the program that runs.
#pragma once

#include <string>

namespace velto {

std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

} // namespace velto
