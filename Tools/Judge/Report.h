// Report: the verdicts in words and figures, for people (a table) and for programs (JSON).
#pragma once

#include "Tools/Judge/StepJudgement.h"

#include <string>
#include <vector>

namespace velto::judge {

/// A row for each step with its reasons beneath, and a closing line with the numbers of both verdicts.
std::string reportTable(const Story& story, const std::vector<StepJudgement>& judgements);
/// The same figures as JSON text, with what was measured on each output.
std::string reportJSON(const Story& story, const std::vector<StepJudgement>& judgements);
/// What such a text in a file tells, rounded as it is there. Throws UnusableInput for a file that is no
/// report.
std::vector<StepJudgement> readReport(const std::string& file);

/// "8 steps passed, 0 failed"
std::string closingLine(const std::vector<StepJudgement>& judgements);
bool allPass(const std::vector<StepJudgement>& judgements);

} // namespace velto::judge
