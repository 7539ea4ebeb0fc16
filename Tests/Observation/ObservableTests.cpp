#include "VeltoCore/Observation/Observable.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using testing::ElementsAre;

using Trace = std::vector<std::string>;

TEST(ObservableTests, SubscriptionEndsWithItsHolder) {
    Observable<int> volume;
    int calls = 0;
    Subscription outer;
    {
        Subscription inner = volume.observe([&] { ++calls; });
        outer = std::move(inner);
    }
    volume.set(1);
    EXPECT_EQ(calls, 1);
    outer.reset();
    volume.set(2);
    EXPECT_EQ(calls, 1);
}

TEST(ObservableTests, SubscriptionMayOutliveTheObservable) {
    Subscription subscription;
    {
        Observable<int> volume;
        subscription = volume.observe([] {});
    }
    subscription.reset();
}

TEST(ObservableTests, HandlersMayEndAndAddHandlersWhileNotified) {
    Observable<int> volume;
    Trace trace;
    Subscription second;
    Subscription added;
    Subscription first = volume.observe([&] {
        trace.push_back("first");
        first.reset(); // itself, while it runs
        second.reset();
        added = volume.observe([&] { trace.push_back("added"); });
    });
    second = volume.observe([&] { trace.push_back("second"); });
    const Subscription third = volume.observe([&] { trace.push_back("third"); });
    volume.set(1);
    EXPECT_THAT(trace, ElementsAre("first", "third"));
    volume.set(2);
    EXPECT_THAT(trace, ElementsAre("first", "third", "third", "added"));
}

TEST(ObservableTests, HandlersMaySetWhileNotified) {
    Observable<int> volume;
    std::vector<int> seen;
    const Subscription clamp = volume.observe([&] {
        if (volume.value() > 10) volume.set(10);
    });
    const Subscription watch = volume.observe([&] { seen.push_back(volume.value()); });
    volume.set(50);
    EXPECT_EQ(volume.value(), 10);
    EXPECT_THAT(seen, ElementsAre(10, 10)) << "nobody may be left with the value that was replaced";
}

TEST(ObservableTests, HandlerMayEndTheObservable) {
    auto volume = std::make_unique<Observable<int>>();
    Trace trace;
    const Subscription first = volume->observe([&] {
        trace.push_back("first");
        volume.reset();
    });
    const Subscription second = volume->observe([&] { trace.push_back("second"); });
    EXPECT_TRUE(volume->set(1));
    EXPECT_THAT(trace, ElementsAre("first", "second"));
}

} // namespace
} // namespace velto
