#include "Tests/Contract/DefaultsUnderTest.h"

#include "Platform/macOS/FoundationUserDefaults.h"

#import <Foundation/Foundation.h>

#include <optional>

namespace velto {

namespace {

constexpr const char* suite = "com.corlent.velto.contract";

class FoundationUserDefaultsUnderTest final : public DefaultsUnderTest {
  public:
    FoundationUserDefaultsUnderTest() {
        removeAll(); // of a run that was killed
        reopen();
    }
    ~FoundationUserDefaultsUnderTest() override {
        defaults_.reset();
        removeAll();
    }

    UserDefaults& defaults() override { return *defaults_; }
    void reopen() override {
        defaults_.reset();
        defaults_.emplace(suite);
    }
    std::optional<DefaultsValue> storedForOthers(std::string_view key) override {
        return FoundationUserDefaults(suite).storedValue(key);
    }
    void storeListAndReopen(const std::string& key) override {
        @autoreleasepool {
            NSUserDefaults* other = [[NSUserDefaults alloc] initWithSuiteName:@(suite)];
            [other setObject:@[ @1, @"two" ] forKey:@(key.c_str())];
        }
        reopen();
    }

  private:
    static void removeAll() {
        @autoreleasepool {
            [[NSUserDefaults standardUserDefaults] removePersistentDomainForName:@(suite)];
        }
    }

    std::optional<FoundationUserDefaults> defaults_;
};

} // namespace

std::unique_ptr<DefaultsUnderTest> makeDefaultsUnderTest() {
    return std::make_unique<FoundationUserDefaultsUnderTest>();
}

} // namespace velto
