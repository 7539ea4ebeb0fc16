// The modules that the program loads when it needs them: they lie beside it, or where an installed one keeps
// them, and find in the program, and in those loaded before, what they need of it. None is ever unloaded:
// what it made outlives who loaded it.
#pragma once

#include <string>

namespace velto {

/// What the module exports under that name. Throws std::runtime_error, with a sentence for the user.
void* programSymbol(const std::string& module, const char* name);

} // namespace velto
