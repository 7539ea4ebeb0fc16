// What every platform's login item does for a program that can't be registered.
#include "Tests/Contract/LoginItemUnderTest.h"

#include <gmock/gmock.h>

#include <exception>
#include <string>

namespace velto {
namespace {

using Status = LoginItemService::Status;

/// What the operation says that it can't do; empty when it can.
template <class Operation>
std::string refusal(const Operation& operation) {
    try {
        operation();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST(LoginItemContractTests, AProgramThatIsNotInstalledIsRefusedInWords) {
    const auto loginItem = makeLoginItemOfProgramNotInstalled();
    EXPECT_FALSE(loginItem->isAvailable());
    EXPECT_EQ(loginItem->status(), Status::notRegistered);
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_THAT(refusal([&] { loginItem->registerItem(); }), testing::MatchesRegex(".+ .+ .+"))
            << "shown to the user";
        EXPECT_EQ(loginItem->status(), Status::notRegistered);
    }
    refusal([&] { loginItem->unregisterItem(); }); // nothing to do, or refused: both will do
    EXPECT_EQ(loginItem->status(), Status::notRegistered);
    EXPECT_FALSE(loginItem->isAvailable());
}

} // namespace
} // namespace velto
