#include "Tests/Fuzz/FuzzTarget.h"

#include "VeltoCore/Settings/AutomationRule.h"

namespace velto {

void fuzz(std::string_view text) {
    requireReadsBack(Data(text.begin(), text.end()), decodeAutomationRule, encodeAutomationRule);
}

} // namespace velto
