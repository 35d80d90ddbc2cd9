#include "host/CommandLine.h"
#include "platform/Deployment.h"
#include "platform/InputFile.h"
#include "store/DefaultsStore.h"
#include "store/StoreLocation.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace host {

using namespace ui;
using namespace timeline;
using namespace widgets;
using namespace dailybrief;
using namespace watchlist;
namespace {

struct DefaultsOptions {
    bool standard = false;  // the standard defaults instead of the app group's suite
    std::string key;
    std::optional<std::string> data;
    std::optional<std::string> dataFile;
    std::optional<std::string> string;
};

std::string_view domain(const DefaultsOptions& options) {
    return options.standard ? platform::bundleIdentifier() : platform::appGroupIdentifier();
}

// The most a --data-file may hold: the largest value the store takes.
constexpr std::size_t dataFileLimit = 1 << 20;

int write(const GlobalOptions& globals, const DefaultsOptions& options) {
    store::Data bytes;
    if (options.dataFile) {
        const auto contents = platform::readInputFile(*options.dataFile, dataFileLimit);
        if (!contents) {
            printError("--data-file " + contents.error().description);
            return exitFailure;
        }
        bytes.assign(contents->begin(), contents->end());
    } else if (options.data) {
        bytes.assign(options.data->begin(), options.data->end());
    }

    auto opened = store::DefaultsStore::openForWriting(
        domain(options), store::storeDirectory(globals.storeDirectory));
    if (!opened) {
        printError(opened.error().description);
        return exitFailure;
    }
    auto& store = opened.value();
    const auto written = options.string ? store.setString(options.key, *options.string)
                                        : store.setData(options.key, bytes);
    if (!written) {
        printError(written.error().description);
        return exitFailure;
    }
    return exitSuccess;
}

// Data that reads as text is printed as it is; anything else as hex digits.
bool printable(const store::Data& bytes) {
    return std::none_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) {
        return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f;
    });
}

void printValue(const store::DefaultsValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        std::printf("string\n%s\n", text->c_str());
        return;
    }
    const auto& bytes = std::get<store::Data>(value);
    std::printf("data (%zu %s)\n", bytes.size(), bytes.size() == 1 ? "byte" : "bytes");
    if (printable(bytes)) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    } else {
        for (std::uint8_t byte : bytes) std::printf("%02x", byte);
    }
    std::printf("\n");
}

// The value under the key, nothing when the store or the key is missing, or the store's fault.
platform::Result<std::optional<store::DefaultsValue>> readValue(const GlobalOptions& globals,
                                                                const DefaultsOptions& options) {
    const auto folder = store::storeDirectory(globals.storeDirectory);
    if (options.standard) {
        const auto store = store::DefaultsStore::standard(folder);
        if (!store) return store.error();
        return store->valueForKey(options.key);
    }
    const auto store = store::DefaultsStore::openSuite(domain(options), folder);
    if (!store) return store.error();
    if (!store.value()) return std::optional<store::DefaultsValue>();
    return store.value()->valueForKey(options.key);
}

int read(const GlobalOptions& globals, const DefaultsOptions& options) {
    const auto value = readValue(globals, options);
    if (!value) {
        printError(value.error().description);
        return exitFailure;
    }
    if (!value.value()) {
        printError("no value for key \"" + options.key + "\" in " + std::string(domain(options)));
        return exitFailure;
    }
    printValue(*value.value());
    return exitSuccess;
}

int remove(const GlobalOptions& globals, const DefaultsOptions& options) {
    // The reader keeps its snapshot until it is released, so it must be gone before the write.
    const auto present = readValue(globals, options);
    if (!present) {
        printError(present.error().description);
        return exitFailure;
    }
    if (!present.value()) {
        printError("no value for key \"" + options.key + "\" in " + std::string(domain(options)));
        return exitFailure;
    }
    auto opened = store::DefaultsStore::openForWriting(
        domain(options), store::storeDirectory(globals.storeDirectory));
    if (!opened) {
        printError(opened.error().description);
        return exitFailure;
    }
    if (const auto removed = opened.value().removeObject(options.key); !removed) {
        printError(removed.error().description);
        return exitFailure;
    }
    return exitSuccess;
}

}  // namespace

void registerDefaultsCommand(CLI::App& app, GlobalOptions& globals) {
    auto options = std::make_shared<DefaultsOptions>();
    CLI::App* defaults =
        app.add_subcommand("defaults", "Write, read or delete a key of the shared store");
    defaults->require_subcommand(1);
    defaults->add_flag("--standard", options->standard,
                       "Use the standard defaults (" + std::string(platform::bundleIdentifier()) +
                           ") instead of the app group's suite");

    CLI::App* write = defaults->add_subcommand("write", "Store a data or text value under KEY");
    write->add_option("KEY", options->key, "The key")->required();
    CLI::Option_group* value = write->add_option_group("value", "What to store");
    value->add_option("--data", options->data, "A data value: the UTF-8 bytes of TEXT")
        ->type_name("TEXT");
    value->add_option("--data-file", options->dataFile, "A data value: the bytes of FILE")
        ->type_name("FILE");
    value->add_option("--string", options->string, "A text value")->type_name("TEXT");
    value->require_option(1);
    write->callback([&globals, options] { globals.exitCode = host::write(globals, *options); });

    CLI::App* read = defaults->add_subcommand("read", "Print the value under KEY");
    read->add_option("KEY", options->key, "The key")->required();
    read->callback([&globals, options] { globals.exitCode = host::read(globals, *options); });

    CLI::App* remove = defaults->add_subcommand("delete", "Remove KEY");
    remove->add_option("KEY", options->key, "The key")->required();
    remove->callback([&globals, options] { globals.exitCode = host::remove(globals, *options); });
}

}  // namespace host
