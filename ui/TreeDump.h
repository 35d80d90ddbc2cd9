#pragma once

// A canonical text form of a view tree, for golden tests and for the command line's dumps.
//
// Format (stable; golden files depend on it):
//
// - One line per node, ending in "\n" (the last line too). A node at depth d is indented by
//   2*d spaces; its modifiers follow it, in the order they were applied (innermost first),
//   one per line at depth d+1, each starting with "."; then its children at depth d+1.
//   Modifier lines start with "." and node lines never do, so the two cannot be confused.
// - Node lines, parameters always in this order:
//     VStack(alignment: leading|center|trailing[, spacing: N])
//     HStack(alignment: top|center|bottom|firstTextBaseline[, spacing: N])
//     LazyVGrid(columns: [flexible(minimum: N[, maximum: N][, spacing: N]), ...],
//               alignment: leading|center|trailing[, spacing: N])       (on one line)
//     ForEach(ids: [AAPL, NVDA])        ids bare, or quoted when empty or holding , [ ] " or
//                                        anything but printable ASCII other than space
//     Group()   EmptyView()   Divider()
//     Spacer()  or  Spacer(minLength: N)
//     Text("Watchlist")                 a localisation key
//     Text("Daily Brief · %@", "NOV 16, 6:30 AM")   a key with a text argument
//     Text("%lld", 78)                  a key with an integer argument
//     Text(verbatim: "NVDA")            a text shown as it is
//     Image(systemName: "sparkles")
//   A spacing that is absent (the platform default) is left out.
// - Modifier lines:
//     .font(system(size: N, weight: regular|medium|semibold|bold, design: default|monospaced))
//     .foregroundColor(COLOR)   .background(COLOR)
//     .lineLimit(N) or .lineLimit(none)
//     .textCase(uppercase|lowercase) or .textCase(none)
//     .multilineTextAlignment(leading|center|trailing)
//     .frame([minWidth: N, ][maxWidth: N, ][minHeight: N, ][maxHeight: N, ]alignment: A)
//         A is the platform's name: center, leading, trailing, top, bottom, topLeading,
//         topTrailing, bottomLeading, bottomTrailing, leadingFirstTextBaseline,
//         centerFirstTextBaseline, trailingFirstTextBaseline
//     .padding(N) when all four edges are equal, else .padding(top: N, leading: N, bottom: N,
//         trailing: N) listing only the non-zero edges in that order
//     .clipShape(RoundedRectangle(cornerRadius: N, style: continuous|circular))
//     .widgetURL(velmora://stock-detail?ticker=NVDA) or .widgetURL(none)
//     .containerBackground(COLOR, for: widget)
// - COLOR: the caller's name ("Palette.<name>") when it names the RGB, else "#RRGGBB" (components
//   rounded to 0...255); followed by ".opacity(A)" when the opacity A is not 1.
// - N: the shortest text that reads back as the same double, without a trailing ".0"
//   (8, 0.18, 12.5; exponent form only where it is shorter, 1e+20); "infinity", "-infinity".
// - Strings in double quotes, UTF-8 kept as is; escaped: \" \\ \n \r \t, and other control
//   characters, U+2028 and U+2029 as \u{XXXX} (upper-case hex), so one node stays one line.
//
// Example:
//   VStack(alignment: leading, spacing: 8)
//     .widgetURL(velmora://stock-detail?ticker=NVDA)
//     HStack(alignment: firstTextBaseline)
//       Text(verbatim: "NVDA")
//         .font(system(size: 18, weight: bold, design: monospaced))
//         .foregroundColor(Palette.textPrimary)
//       Spacer()
//       Text(verbatim: "Buy")
//         .padding(leading: 5, trailing: 5)
//         .background(Palette.bullish.opacity(0.18))

#include "ui/Color.h"
#include "ui/View.h"

#include <span>
#include <string>
#include <string_view>

namespace ui {

// A colour the dumps write by name: `name` stands for every colour of the same RGB.
struct ColorName {
    std::string_view name;  // "Palette.bullish"
    Color color;
};
using ColorNames = std::span<const ColorName>;

// The whole tree, as above; colours named by `names` where their RGB is there.
[[nodiscard]] std::string dumpTree(const View& view, ColorNames names = {});

// One colour in the dump's COLOR form ("Palette.bullish.opacity(0.18)", "#FFFFFF.opacity(0.04)"),
// its opacity written by `number`.
[[nodiscard]] std::string dumpColor(const Color& color, ColorNames names = {},
                                    std::string (*number)(double) = nullptr);

// A text in double quotes, with quotes, backslashes, line breaks and control characters
// escaped so that it never spans two lines.
[[nodiscard]] std::string dumpQuoted(std::string_view text);

// One number in the dump's N form ("8", "0.18", "infinity").
[[nodiscard]] std::string dumpNumber(double value);

}  // namespace ui
