// What the program tells of itself over the channel, as JSON objects. Docs/Commands.md says what is in them.
#pragma once

#include "Velto/Commands/CommandRequest.h"
#include "Velto/Shell/AppState.h"

namespace velto {

/// All answers begin so.
JSON answerOfThisVersion();
JSON statusOf(AppState& app);
JSON outputsOf(AppState& app);
JSON presetsOf(AppState& app);
JSON inputsOf(AppState& app);
/// Of one that ended well.
JSON alignmentOf(const SessionAlignment::End& end);
JSON alignmentProgressOf(const AlignmentRun::Progress& progress);

} // namespace velto
