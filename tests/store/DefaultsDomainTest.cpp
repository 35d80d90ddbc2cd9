#include "store/DefaultsDomain.h"
#include "tests/support/TempStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using store::Data;
using store::DefaultsDomain;
using store::DefaultsStore;
using store::DefaultsValue;

// The writer's calls as the command line and the host app's library make them: a read or a
// removal creates nothing, a removal says whether there was a value, and no value larger than a
// reader would load is written.
TEST(DefaultsDomain, ReadsAndRemovalsCreateNothingAndWritesKeepTheLimit) {
    tempstore::TempStore temp;
    const auto folder = temp.folder() / "store";
    const DefaultsDomain domain(std::string(platform::appGroupIdentifier()), folder);

    EXPECT_EQ(domain.read("k").value(), std::nullopt);
    EXPECT_EQ(domain.remove("k").value(), false);
    EXPECT_FALSE(std::filesystem::exists(folder));

    const Data atLimit(DefaultsStore::valueSizeLimit, 'x');
    ASSERT_TRUE(domain.writeData("k", atLimit));
    EXPECT_EQ(domain.read("k").value(), DefaultsValue(atLimit));
    const Data aboveLimit(DefaultsStore::valueSizeLimit + 1, 'y');
    const std::string textAboveLimit(DefaultsStore::valueSizeLimit + 1, 'y');
    for (const auto& refused :
         {domain.writeData("k", aboveLimit), domain.writeString("k", textAboveLimit)}) {
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().description, "value of 1048577 bytes exceeds the 1 MiB limit");
    }
    EXPECT_EQ(domain.read("k").value(), DefaultsValue(atLimit));

    ASSERT_TRUE(domain.writeString("t", "text"));
    EXPECT_EQ(domain.read("t").value(), DefaultsValue(std::string("text")));
    EXPECT_EQ(domain.remove("t").value(), true);
    EXPECT_EQ(domain.remove("t").value(), false);
    EXPECT_EQ(domain.read("t").value(), std::nullopt);

    // The writer's reads see the same database the widgets' reader does.
    const auto reader = DefaultsStore::openSuite(platform::appGroupIdentifier(), folder);
    EXPECT_EQ(reader.value()->dataForKey("k").value(), atLimit);
}

}  // namespace
