#include "VeltoCore/Sync/SyncProfile.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using Kind = SyncProfile::Kind;

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

constexpr std::string_view storedText =
    R"([{"id":"a|b","deviceUIDs":["b","a"],"referenceUID":"b","corrections":{"a":12.4,"b":0},)"
    R"("kind":"measured","updatedAt":100.5}])";

TEST(SyncProfileTests, StoredFormReadsBack) {
    const SyncProfile profile({"b", "a"}, "b", {{"a", 12.4}, {"b", 0}}, Kind::measured, Date{100.5});
    const Data encoded = *encodeSyncProfiles({profile});
    EXPECT_EQ(std::string(encoded.begin(), encoded.end()), storedText);
    EXPECT_EQ(decodeSyncProfiles(bytes(storedText)), std::vector{profile});
    for (const Kind kind : {Kind::estimated, Kind::measured, Kind::manual}) {
        const SyncProfile bare({}, "", {}, kind, {});
        EXPECT_EQ(decodeSyncProfiles(*encodeSyncProfiles({bare})), std::vector{bare});
    }
    const SyncProfile endless({}, "", {{"a", std::numeric_limits<double>::infinity()}}, Kind::manual, {});
    EXPECT_EQ(encodeSyncProfiles({profile, endless}), std::nullopt);
}

TEST(SyncProfileTests, ReadsNothingButWholeLists) {
    const auto changed = [](std::string_view part, std::string_view replacement) {
        std::string text(storedText);
        return decodeSyncProfiles(bytes(text.replace(text.find(part), part.size(), replacement)));
    };
    const auto renamed = changed("a|b", "of old");
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->at(0).id, "of old") << "the stored id counts";
    EXPECT_TRUE(changed(R"("kind")", R"("later":[{}],"kind")"));

    EXPECT_EQ(changed("measured", "Measured").error().path, "[0].kind");
    EXPECT_EQ(changed("12.4", "true").error().path, "[0].corrections.a");
    EXPECT_EQ(changed(R"("referenceUID":"b",)", "").error().path, "[0].referenceUID");
    EXPECT_EQ(changed(R"("id":"a|b",)", "").error().path, "[0].id");
    EXPECT_EQ(changed("100.5", "null").error().path, "[0].updatedAt");
    EXPECT_FALSE(changed("}]", "},{}]"));
}

} // namespace
} // namespace velto
