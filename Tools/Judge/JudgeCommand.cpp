#include "Tools/Judge/JudgeCommand.h"

#include "Tools/Judge/Material.h"
#include "Tools/Judge/PlainText.h"
#include "Tools/Judge/Report.h"
#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>

#include <fstream>
#include <ostream>

namespace velto::judge {

static void writeFile(const std::string& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    if (!stream) throw UnusableInput(fmt::format("{} can't be written.", file));
}

JudgeCommand::Status JudgeCommand::run(std::ostream& output, std::ostream& errors) const {
    try {
        const Material material = readMaterial(story);
        const auto judgements = judgeStory(material.story, material.source, material.recordings);
        output << reportTable(material.story, judgements) << std::flush;
        if (report) writeFile(*report, reportJSON(material.story, judgements));
        return allPass(judgements) ? Status::allPass : Status::stepFailed;
    } catch (const UnusableInput& error) {
        errors << "velto-judge: " << cleaned(error.what()) << "\n";
        return Status::unusable;
    }
}

} // namespace velto::judge
