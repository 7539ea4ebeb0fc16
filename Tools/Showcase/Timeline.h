// Timeline: a picture of the whole story: what each output heard, one above the other on one time axis.
#pragma once

#include "Tools/Judge/Material.h"
#include "Tools/Judge/StepJudgement.h"

#include <string>
#include <vector>

namespace velto {

/// One SVG file that needs no other, on a light card, so that it can be read on any page.
std::string timelineSVG(const judge::Material& material, const std::vector<judge::StepJudgement>& judgements);

} // namespace velto
