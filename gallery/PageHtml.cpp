#include "gallery/PageHtml.h"

#include "platform/Url.h"
#include "style/Palette.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace gallery {

namespace {

// A colour as CSS writes it: "#0D1117" when opaque, else "rgba(230, 237, 243, 0.06)".
std::string css(const ui::Color& color) {
    const auto channel = [](double value) { return int(std::lround(value * 255)); };
    std::array<char, 48> text{};
    if (color.alpha >= 1)
        std::snprintf(text.data(), text.size(), "#%02X%02X%02X", channel(color.red),
                      channel(color.green), channel(color.blue));
    else
        std::snprintf(text.data(), text.size(), "rgba(%d, %d, %d, %g)", channel(color.red),
                      channel(color.green), channel(color.blue), color.alpha);
    return text.data();
}

// The page in the widgets' own look: their background, surface, texts and accent.
std::string style() {
    const std::string background = css(Palette::background);
    const std::string surface = css(Palette::surface);
    const std::string text = css(Palette::textPrimary);
    const std::string secondary = css(Palette::textSecondary);
    const std::string accent = css(Palette::accent);
    const std::string hairline = css(Palette::textPrimary.opacity(0.06));
    const std::string shadow = css(ui::Color::black().opacity(0.45));
    return R"(
:root { color-scheme: dark; }
* { box-sizing: border-box; }
body {
  margin: 0; padding: 32px 40px 48px;
  background: )" +
           background + "; color: " + text + R"(;
  font-family: Inter, system-ui, -apple-system, "Segoe UI", sans-serif;
  font-size: 14px; line-height: 1.45;
}
header { margin-bottom: 28px; }
h1 { margin: 0; font-size: 24px; font-weight: 700; letter-spacing: -0.01em; }
header p { margin: 4px 0 0; color: )" +
           secondary + R"(; }
section { margin-top: 32px; }
h2 { margin: 0; font-size: 18px; font-weight: 600; }
h2 .kind { margin-left: 8px; color: )" +
           secondary + R"(; font-size: 13px; font-weight: 400; }
section > p { margin: 4px 0 16px; color: )" +
           secondary + R"(; max-width: 60em; }
.cards { display: flex; flex-direction: column; gap: 20px; }
.family { display: flex; flex-wrap: wrap; gap: 20px; align-items: flex-start; }
.card {
  width: min-content; min-width: 288px;
  margin: 0; padding: 16px; border-radius: 16px;
  background: )" +
           surface + "; border: 1px solid " + hairline + R"(;
}
.card a, .card .unlinked { display: block; width: max-content; margin: 0 auto; line-height: 0; }
.card img {
  display: block; border-radius: 22px;
  box-shadow: 0 1px 0 )" +
           hairline + ", 0 8px 24px " + shadow + R"(;
}
.card a:focus-visible { outline: 2px solid )" +
           accent + R"(; outline-offset: 4px; border-radius: 24px; }
figcaption { margin-top: 12px; }
.request { color: )" +
           accent + R"(; font-weight: 600; }
.placement { font-weight: 600; }
dl { display: grid; grid-template-columns: auto 1fr; gap: 2px 12px; margin: 6px 0 0; font-size: 12px; }
dt { color: )" +
           secondary + R"(; }
dd { margin: 0; font-family: "JetBrains Mono", ui-monospace, monospace; font-size: 11.5px;
     overflow-wrap: anywhere; }
dd.none { color: )" +
           secondary + R"(; font-family: inherit; font-size: 12px; }
)";
}

// Notes on <body>, once everything has loaded, what a headless browser's DOM dump should show.
constexpr std::string_view script = R"(
window.addEventListener("load", function () {
  var images = Array.prototype.slice.call(document.images);
  var loaded = images.filter(function (img) { return img.complete && img.naturalWidth > 0; });
  var crisp = loaded.filter(function (img) {
    return img.naturalWidth === 2 * img.width && img.naturalHeight === 2 * img.height;
  });
  var links = Array.prototype.map.call(document.querySelectorAll(".card"), function (card) {
    var link = card.querySelector("a[href]");
    return link ? link.getAttribute("href") : "-";
  });
  document.body.setAttribute("data-images-loaded", loaded.length + "/" + images.length);
  document.body.setAttribute("data-images-crisp", crisp.length + "/" + images.length);
  document.body.setAttribute("data-links", links.join(" "));
});
)";

std::string number(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", value);
    return text.data();
}

void appendCard(std::string& page, const GalleryCard& card) {
    const std::string alt = card.kind + ", " + card.family + ", " + card.request;
    const bool linked = card.url && isLinkableUrl(*card.url);
    page += "<figure class=\"card\" data-kind=\"" + escapeHtml(card.kind) + "\" data-family=\"" +
            escapeHtml(card.family) + "\" data-request=\"" + escapeHtml(card.request) + "\">\n";
    page += linked ? "<a href=\"" + escapeHtml(*card.url) + "\">" : "<div class=\"unlinked\">";
    page += "<img src=\"" + escapeHtml(card.image) + "\" width=\"" + number(card.width) +
            "\" height=\"" + number(card.height) + "\" alt=\"" + escapeHtml(alt) + "\">";
    page += linked ? "</a>\n" : "</div>\n";
    page += "<figcaption><div class=\"request\">" + escapeHtml(card.request) +
            "</div><div class=\"placement\">" + escapeHtml(card.kind) + " · " +
            escapeHtml(card.family) + "</div>\n<dl>";
    page += "<dt>Entry</dt><dd>" + escapeHtml(card.entryDate) + "</dd>";
    page += "<dt>Next reload</dt><dd>" + escapeHtml(card.nextReload) + "</dd>";
    if (!card.url)
        page += "<dt>Link</dt><dd class=\"none\">no link</dd>";
    else if (!linked)
        page += "<dt>Link</dt><dd>" + escapeHtml(*card.url) + " (not linked)</dd>";
    else
        page += "<dt>Link</dt><dd>" + escapeHtml(*card.url) + "</dd>";
    page += "</dl></figcaption>\n</figure>\n";
}

}  // namespace

std::string escapeHtml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

bool isLinkableUrl(std::string_view url) {
    const auto parsed = platform::Url::parse(url);
    if (!parsed) return false;
    const auto& scheme = parsed->scheme();
    return scheme == "velmora" || scheme == "https" || scheme == "http";
}

std::string galleryPage(const std::vector<GallerySection>& sections,
                        const GalleryPageOptions& options) {
    std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
    page += "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
    if (options.refreshSeconds)
        page += "<meta http-equiv=\"refresh\" content=\"" +
                std::to_string(std::max(1, *options.refreshSeconds)) + "\">\n";
    page += "<title>" + escapeHtml(options.title) + "</title>\n<style>";
    page += style();
    page += "</style>\n</head>\n<body>\n<header><h1>" + escapeHtml(options.title) + "</h1>";
    if (!options.subtitle.empty()) page += "<p>" + escapeHtml(options.subtitle) + "</p>";
    page += "</header>\n";
    for (const auto& section : sections) {
        page += "<section id=\"" + escapeHtml(section.kind) + "\">\n<h2>" +
                escapeHtml(section.displayName) + "<span class=\"kind\">" +
                escapeHtml(section.kind) + "</span></h2>\n<p>" + escapeHtml(section.description) +
                "</p>\n<div class=\"cards\">\n";
        // One row per family, its cards side by side (placeholder beside current entry).
        std::vector<std::string> families;
        for (const auto& card : section.cards)
            if (std::find(families.begin(), families.end(), card.family) == families.end())
                families.push_back(card.family);
        for (const auto& family : families) {
            page += "<div class=\"family\">\n";
            for (const auto& card : section.cards)
                if (card.family == family) appendCard(page, card);
            page += "</div>\n";
        }
        page += "</div>\n</section>\n";
    }
    page += "<script>";
    page += script;
    page += "</script>\n</body>\n</html>\n";
    return page;
}

}  // namespace gallery
