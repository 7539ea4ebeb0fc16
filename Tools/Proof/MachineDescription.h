// What machine the proof runs on, as its figures need to be read beside it.
#pragma once

#include <map>
#include <string>

namespace velto {

std::map<std::string, std::string> machineDescription();

} // namespace velto
