#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The gallery page: an HTML page of drawn widget entries, grouped per widget, in the widgets' own
// dark look. Pure text generation; the gallery and host commands render the images and write
// the files.
namespace gallery {

// One drawn entry: its image and what it shows.
struct GalleryCard {
    std::string image;               // the image's address relative to the page
    double width = 0;                // the widget canvas in points: the image is shown at this size
    double height = 0;               // (its pixels are a multiple of it, so it stays crisp)
    std::string kind;                // "WatchlistGlance"
    std::string family;              // "systemSmall"
    std::string request;             // "placeholder" or "current"
    std::string entryDate;           // the entry's date as shown
    std::string nextReload;          // the timeline's reload date as shown, "—" for none
    std::optional<std::string> url;  // the widget's tap link; none: the card says "no link"

    bool operator==(const GalleryCard&) const = default;
};

// The cards of one widget under its display name and description.
struct GallerySection {
    std::string kind;
    std::string displayName;
    std::string description;
    std::vector<GalleryCard> cards;

    bool operator==(const GallerySection&) const = default;
};

struct GalleryPageOptions {
    std::string title = "Velmora Widgets";
    std::string subtitle;               // one line under the title; none when empty
    std::optional<int> refreshSeconds;  // the page reloads itself this often (the live host)
};

// Text safe inside HTML element content and quoted attribute values.
[[nodiscard]] std::string escapeHtml(std::string_view text);

// Whether the page makes `url` a clickable link: only the host app's scheme and the web's;
// anything else (javascript:, data:, ...) is shown as text instead.
[[nodiscard]] bool isLinkableUrl(std::string_view url);

// The whole page. It carries a small script that, once everything has loaded, notes on <body>
// how many images loaded ("data-images-loaded": "N/M"), how many have twice their shown size in
// pixels ("data-images-crisp") and each card's link in order ("data-links", "-" for none), so a
// headless browser's DOM dump can be checked.
[[nodiscard]] std::string galleryPage(const std::vector<GallerySection>& sections,
                                      const GalleryPageOptions& options = {});

}  // namespace gallery
