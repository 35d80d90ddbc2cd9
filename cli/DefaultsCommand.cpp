#include "cli/CommandLine.h"
#include "platform/Deployment.h"
#include "platform/InputFile.h"
#include "platform/PrintableText.h"
#include "store/DefaultsDomain.h"
#include "store/StoreLocation.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

using namespace timeline;
using namespace widgets;

namespace cli {

using namespace ui;
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

// The domain as the host app writes it: the same code its library runs.
store::DefaultsDomain defaultsDomain(const GlobalOptions& globals, const DefaultsOptions& options) {
    return {std::string(domain(options)), store::storeDirectory(globals.storeDirectory)};
}

// The most a --data-file may hold: the largest value the store takes.
constexpr std::size_t dataFileLimit = 1 << 20;

int write(const GlobalOptions& globals, const DefaultsOptions& options) {
    const int values = int(options.data.has_value()) + int(options.dataFile.has_value()) +
                       int(options.string.has_value());
    if (values != 1) {
        printError(std::string("defaults write: expected ") +
                   (values == 0 ? "a value" : "one value") +
                   ": --data TEXT, --data-file FILE or --string TEXT");
        return exitUsage;
    }
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

    const auto target = defaultsDomain(globals, options);
    const auto written = options.string ? target.writeString(options.key, *options.string)
                                        : target.writeData(options.key, bytes);
    if (!written) {
        printError(written.error().description);
        return exitFailure;
    }
    return exitSuccess;
}

// UTF-8 text as it may go to a terminal: control characters other than tab and line feed
// (escape sequences, carriage return, the bell, C1 controls) written as \u00XX, so that no value
// can move the cursor, recolour or rewrite the screen. None when the bytes are not UTF-8.
std::optional<std::string> terminalText(std::string_view bytes) {
    std::string shown;
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        const std::size_t length = lead < 0x80             ? 1
                                   : (lead & 0xE0) == 0xC0 ? 2
                                   : (lead & 0xF0) == 0xE0 ? 3
                                   : (lead & 0xF8) == 0xF0 ? 4
                                                           : 0;
        if (length == 0 || i + length > bytes.size()) return std::nullopt;
        std::uint32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(bytes[i + k]);
            if ((next & 0xC0) != 0x80) return std::nullopt;
            code = code << 6 | (next & 0x3Fu);
        }
        // Overlong forms, surrogates and code points past U+10FFFF are not UTF-8.
        constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < smallest[length] || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF)
            return std::nullopt;
        if ((code < 0x20 && code != '\t' && code != '\n') || (code >= 0x7F && code <= 0x9F)) {
            char escape[16];
            std::snprintf(escape, sizeof escape, "\\u%04X", unsigned(code));
            shown += escape;
        } else {
            shown.append(bytes.substr(i, length));
        }
        i += length;
    }
    return shown;
}

// Text as text, control characters escaped; anything that is not UTF-8 as hex digits.
void printBytes(std::string_view bytes) {
    if (const auto text = terminalText(bytes)) {
        std::fwrite(text->data(), 1, text->size(), stdout);
    } else {
        for (const char byte : bytes)
            std::printf("%02x", unsigned(static_cast<unsigned char>(byte)));
    }
    std::printf("\n");
}

void printValue(const store::DefaultsValue& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        std::printf("string\n");
        printBytes(*text);
        return;
    }
    const auto& bytes = std::get<store::Data>(value);
    std::printf("data (%zu %s)\n", bytes.size(), bytes.size() == 1 ? "byte" : "bytes");
    printBytes({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

int read(const GlobalOptions& globals, const DefaultsOptions& options) {
    const auto value = defaultsDomain(globals, options).read(options.key);
    if (!value) {
        printError(value.error().description);
        return exitFailure;
    }
    if (!value.value()) {
        printError("no value for key " + platform::quotedInput(options.key) + " in " +
                   std::string(domain(options)));
        return exitFailure;
    }
    printValue(*value.value());
    return exitSuccess;
}

int remove(const GlobalOptions& globals, const DefaultsOptions& options) {
    const auto removed = defaultsDomain(globals, options).remove(options.key);
    if (!removed) {
        printError(removed.error().description);
        return exitFailure;
    }
    if (!removed.value()) {
        printError("no value for key " + platform::quotedInput(options.key) + " in " +
                   std::string(domain(options)));
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
    write->callback([&globals, options] { globals.exitCode = cli::write(globals, *options); });

    CLI::App* read = defaults->add_subcommand("read", "Print the value under KEY");
    read->add_option("KEY", options->key, "The key")->required();
    read->callback([&globals, options] { globals.exitCode = cli::read(globals, *options); });

    CLI::App* remove = defaults->add_subcommand("delete", "Remove KEY");
    remove->add_option("KEY", options->key, "The key")->required();
    remove->callback([&globals, options] { globals.exitCode = cli::remove(globals, *options); });
}

}  // namespace cli
