// A question to the X server and its answer, by which all that was asked of it before is done.
#pragma once

namespace velto {

/// The events that this has caused are in the program's queue then.
void awaitServer();

} // namespace velto
