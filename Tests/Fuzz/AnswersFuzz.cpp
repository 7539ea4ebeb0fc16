#include "Tests/Fuzz/FuzzTarget.h"
#include "Tests/Fuzz/FuzzedComputer.h"
#include "Velto/Commands/CommandText.h"

#include <nlohmann/json.hpp>

namespace velto {

/// What a program that says it is Velto answers, as people are shown it.
void fuzz(std::string_view text) {
    const auto answer = objectOf(text);
    if (!answer) return;
    for (const std::string& shown :
         {CommandText::of(*answer), CommandText::namesOf(*answer), CommandText::lineOf(*answer)})
        requireShowable(shown);
    if (const auto failure = CommandText::failureOf(*answer)) requireShowable(failure->what());
}

} // namespace velto
