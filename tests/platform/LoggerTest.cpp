#include "platform/Logger.h"

#include "tests/support/RecordingSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using platform::LogLevel;
using platform::LogSinkKind;
using recording::RecordingSink;

TEST(Logger, ChoosesItsSinkFromTheEnvironment) {
    EXPECT_EQ(platform::chooseLogSink("journal", false), LogSinkKind::journal);
    EXPECT_EQ(platform::chooseLogSink("stderr", true), LogSinkKind::standardError);
    EXPECT_EQ(platform::chooseLogSink("off", true), LogSinkKind::off);
    EXPECT_EQ(platform::chooseLogSink(nullptr, true), LogSinkKind::journal);
    EXPECT_EQ(platform::chooseLogSink(nullptr, false), LogSinkKind::standardError);
    // Anything else is no choice at all.
    EXPECT_EQ(platform::chooseLogSink("", true), LogSinkKind::journal);
    EXPECT_EQ(platform::chooseLogSink("STDERR", true), LogSinkKind::journal);
    EXPECT_EQ(platform::chooseLogSink("syslog", false), LogSinkKind::standardError);
}

TEST(Logger, BuildsTheMessageOnlyWhenErrorIsEnabled) {
    int built = 0;
    const auto message = [&] {
        ++built;
        return std::string("AppGroup decode failed for vmDailyBrief: missing key \"ticker\"");
    };

    RecordingSink off(false);
    platform::Logger(VELMORA_BUNDLE_ID, "app", off).error(message);
    EXPECT_EQ(built, 0);
    EXPECT_TRUE(off.lines().empty());

    RecordingSink on(true);
    const platform::Logger logger(VELMORA_BUNDLE_ID, "app", on);
    logger.error(message);
    EXPECT_EQ(built, 1);
    EXPECT_THAT(on.lines(), testing::ElementsAre(std::string(VELMORA_BUNDLE_ID) +
                                                 "[app] AppGroup decode failed for vmDailyBrief: "
                                                 "missing key \"ticker\""));
    EXPECT_EQ(logger.subsystem(), VELMORA_BUNDLE_ID);
    EXPECT_EQ(logger.category(), "app");
}

TEST(Logger, StreamSinkWritesExactlyOneLinePerMessage) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const platform::StreamLogSink sink(file);
    const platform::Logger logger("app.velmora.desktop", "app", sink);
    logger.error([] { return std::string("AppGroup decode failed for vm\nKey: two\r\nlines"); });
    logger.write(LogLevel::info, "second");

    std::rewind(file);
    std::string text;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, file) != nullptr) text += buffer;
    std::fclose(file);
    EXPECT_EQ(text,
              "app.velmora.desktop[app] error: AppGroup decode failed for vm Key: two  lines\n"
              "app.velmora.desktop[app] info: second\n");
}

}  // namespace
