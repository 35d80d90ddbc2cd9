#pragma once

// A timeline provider's requests against a store folder of their own, on a clock that moves on
// a second at every read. Each request must complete exactly once, a timeline with one entry.

#include "tests/support/TempStore.h"
#include "tests/support/Times.h"
#include "timeline/Timeline.h"

#include <gtest/gtest.h>

#include <optional>

namespace providerrequest {

template <typename Provider>
struct Request {
    using Entry = typename Provider::Entry;

    explicit Request(platform::Date start) : clock(start) {
        context.storeDirectory = store.directory();
    }

    tempstore::TempStore store;
    testtime::TickingClock clock;
    timeline::TimelineProviderContext context{clock};
    Provider provider;

    Entry snapshot() const {
        std::optional<Entry> result;
        int calls = 0;
        provider.getSnapshot(context, [&](Entry entry) { ++calls, result = std::move(entry); });
        EXPECT_EQ(calls, 1);
        return *result;
    }

    timeline::Timeline<Entry> timeline() const {
        std::optional<timeline::Timeline<Entry>> result;
        int calls = 0;
        provider.getTimeline(context,
                             [&](timeline::Timeline<Entry> t) { ++calls, result = std::move(t); });
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(result->entries.size(), 1u);
        return *result;
    }
};

}  // namespace providerrequest
