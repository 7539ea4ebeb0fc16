// RunningInstance: another Velto of this user that runs already. Two would fight over the outputs.
#pragma once

namespace velto {

/// Asks it to show itself, as opening the program once more does; false when there is none.
bool handOverToRunningInstance();

} // namespace velto
