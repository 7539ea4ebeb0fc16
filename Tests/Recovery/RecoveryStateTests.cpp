#include "VeltoCore/Recovery/RecoveryState.h"

#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/RecordingLogSink.h"
#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <string_view>

namespace velto {
namespace {

using testing::IsEmpty;

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }
std::string text(const std::optional<Data>& data) {
    return data ? std::string(data->begin(), data->end()) : "none";
}

const RecoveryState record{.aggregateUID = "com.corlent.velto.aggregate",
                           .previousDefaultOutputUID = "builtin",
                           .previousSystemOutputUID = "usb",
                           .firstDeviceUID = "builtin",
                           .secondDeviceUID = "bluetooth",
                           .startedAt = Date{789000000.25}};

class RecoveryStateStoreTests : public testing::Test {
  protected:
    std::optional<RecoveryState> load(std::string_view stored) {
        defaults.set(UserDefaultsRecoveryStateStore::key, bytes(stored));
        return store.loadRecoveryState();
    }

    InMemoryUserDefaults defaults;
    UserDefaultsRecoveryStateStore store{defaults};
};

TEST(RecoveryStateTests, IsOneObjectWithoutAbsentKeys) {
    EXPECT_EQ(text(encodeRecoveryState(record)),
              R"({"aggregateUID":"com.corlent.velto.aggregate","previousDefaultOutputUID":"builtin",)"
              R"("previousSystemOutputUID":"usb","firstDeviceUID":"builtin","secondDeviceUID":"bluetooth",)"
              R"("startedAt":789000000.25})");
    const RecoveryState bare{
        .aggregateUID = "a", .firstDeviceUID = "\"\n\\", .secondDeviceUID = "", .startedAt = {}};
    EXPECT_EQ(text(encodeRecoveryState(bare)),
              R"({"aggregateUID":"a","firstDeviceUID":"\"\n\\","secondDeviceUID":"","startedAt":0})");
    EXPECT_EQ(decodeRecoveryState(*encodeRecoveryState(bare)), bare);
}

TEST_F(RecoveryStateStoreTests, RecordThatCannotBeEncodedLeavesNoOldOne) {
    store.saveRecoveryState(record);
    RecoveryState timeless = record;
    timeless.startedAt = Date{std::numeric_limits<double>::quiet_NaN()};
    store.saveRecoveryState(timeless);
    EXPECT_THAT(defaults.onDisk(), IsEmpty());
}

TEST_F(RecoveryStateStoreTests, UnreadableRecordIsAbsentAndStays) {
    const RecordingLogSink log;
    const std::string_view unreadable[] = {
        "",
        "{",
        R"({"aggregateUID":"a"})",
        R"({"aggregateUID":"a","firstDeviceUID":"b","secondDeviceUID":"c","startedAt":1e999})",
        R"({"aggregateUID":"a","firstDeviceUID":"b","secondDeviceUID":null,"startedAt":1})",
        R"({"aggregateUID":"a","firstDeviceUID":"b","secondDeviceUID":"c","startedAt":1,"previousSystemOutputUID":0})",
    };
    for (const std::string_view stored : unreadable) {
        EXPECT_EQ(load(stored), std::nullopt) << stored;
        EXPECT_EQ(defaults.dataValue(UserDefaultsRecoveryStateStore::key), bytes(stored));
    }
    defaults.set(UserDefaultsRecoveryStateStore::key, std::string("text, not data"));
    EXPECT_EQ(store.loadRecoveryState(), std::nullopt);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
} // namespace velto
