// Names of the server, which are any bytes, as texts of the program.
#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>

#include <random>
#include <set>
#include <string>

namespace velto {
namespace {

using namespace std::string_literals;
using PipeWireText::fromServer;
using PipeWireText::toServer;

/// By a judge of its own.
bool isUTF8(const std::string& text) {
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::exception&) {
        return false;
    }
}

void expectRoundTrip(const std::string& name) {
    const std::string text = fromServer(name);
    if (toServer(text) != name || !isUTF8(text))
        ADD_FAILURE() << testing::PrintToString(name) << " became " << testing::PrintToString(text);
}

TEST(PipeWireTextTests, AnyBytesComeBackAndAreUTF8InTheProgram) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            for (const char* rest : {"", "\x80", "\xbf", "\x80\x80", "\xbf\xbf\xbf", "\x80z", "\xff"})
                expectRoundTrip(pair + rest);
        }
    }
    std::mt19937_64 random(20);
    const std::string likely = "a\xEF\x9C\x9E\x9F\x80\xBF\xC3\xED\xA0\xF4\x90\xFF";
    for (int i = 0; i < 100'000; ++i) {
        std::string name(random() % 12, 0);
        for (char& c : name)
            c = random() % 4 ? likely.at(random() % likely.size()) : static_cast<char>(random());
        expectRoundTrip(name);
    }
}

TEST(PipeWireTextTests, UTF8StaysAsItIsUnlessItCouldBeTakenForBytes) {
    for (const std::string& name :
         {""s, "alsa_output.usb-Acme"s, "a\"b\\c\n\x7f"s, "é日😀"s, "\uF77F\uF800\uE000\uFFFD"s, "a\0b"s})
        EXPECT_EQ(fromServer(name), name);
    const std::set<std::string> all{fromServer("\xE9"), fromServer("\uF7E9"),
                                    fromServer("\uF7EF\uF79F\uF7A9")};
    EXPECT_EQ(all.size(), 3U);
    EXPECT_EQ(fromServer("caf\xE9"), "caf\uF7E9");
}

} // namespace
} // namespace velto
