// What machine the proof runs on, and when and beside what, as its figures need to be read beside it.
#pragma once

#include <map>
#include <string>

namespace velto {

std::map<std::string, std::string> machineDescription();
/// The present moment, the commit that is measured, and what else the machine does.
std::string circumstances();

} // namespace velto
