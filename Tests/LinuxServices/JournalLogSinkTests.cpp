#include "Platform/Linux/JournalLogSink.h"

#include "VeltoCore/Services/LoggingService.h"

#include <gmock/gmock.h>

#include <string>

namespace velto {
namespace {

using testing::ElementsAre;

using namespace std::string_literals;

const std::string hostileName = "Desk\nPRIORITY=0\nVELTO_CATEGORY=Forged\r\x1B[2J {} %s\0 tail"s;

TEST(JournalLogSinkTests, ForeignTextCannotForgeAField) {
    const auto fields = JournalLogSink::journalFields({"AudioDevices",
                                                       LogLevel::error,
                                                       "{} failed: {}",
                                                       {publicText(hostileName), LogArgument(hostileName)}});
    EXPECT_THAT(fields,
                ElementsAre(testing::StartsWith("MESSAGE=Desk\uFFFDPRIORITY=0\uFFFDVELTO_CATEGORY=Forged"),
                            "PRIORITY=3", "SYSLOG_IDENTIFIER=velto", "VELTO_SUBSYSTEM=com.corlent.velto",
                            "VELTO_CATEGORY=AudioDevices"));
    for (const std::string& field : fields)
        EXPECT_EQ(field.find('\n'), std::string::npos) << field;
}

} // namespace
} // namespace velto
