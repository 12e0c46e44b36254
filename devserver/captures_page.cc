// The captures page: plain HTML with an inline SVG per capture, the image under a rectangle
// for each text of the key, so that it needs no script and no other file but the images.
#include "captures.h"
#include "server.h"

namespace devserver {
namespace {

constexpr const char* kStyle =
    "body{font-family:sans-serif;margin:2em}"
    "figure{display:inline-block;margin:0 1em 1em 0;vertical-align:top}"
    "svg{max-width:100%;height:auto;border:1px solid #999}";

// Shortest text that reads back as the same number.
std::string svgNumber(double value) { return nlohmann::json(value).dump(); }

// Stroked without fill, and as thick however far the picture is scaled down, so that a text
// stays readable inside its rectangle.
std::string rectangle(const TextFrame& frame) {
  return "<rect x=\"" + svgNumber(frame.x) + "\" y=\"" + svgNumber(frame.y) + "\" width=\"" +
         svgNumber(frame.width) + "\" height=\"" + svgNumber(frame.height) +
         "\" fill=\"none\" stroke=\"#e0115f\" stroke-width=\"3\""
         " vector-effect=\"non-scaling-stroke\"><title>" +
         htmlEscaped(frame.text) + "</title></rect>";
}

std::string shownTexts(const KeyCapture& capture) {
  std::string texts;
  for (const TextFrame& frame : capture.frames) {
    if (frame.text.empty()) continue;
    texts +=
        (texts.empty() ? "" : ", ") + std::string("\u201c") + htmlEscaped(frame.text) + "\u201d";
  }
  return texts.empty() ? "" : "Shown as " + texts;
}

std::string figure(const std::string& project, const KeyCapture& capture) {
  const std::string width = std::to_string(capture.width);
  const std::string height = std::to_string(capture.height);
  std::string svg = "<figure><svg viewBox=\"0 0 " + width + " " + height + "\" width=\"" + width +
                    "\" role=\"img\"><image href=\"" +
                    htmlEscaped(captureImagePath(project, capture.id)) + "\" width=\"" + width +
                    "\" height=\"" + height + "\"/>";
  for (const TextFrame& frame : capture.frames) svg += rectangle(frame);
  return svg + "</svg><figcaption>" + shownTexts(capture) + "</figcaption></figure>";
}

std::string section(const std::string& project, const KeyCaptures& key) {
  std::string html = "<section><h2><code>" + htmlEscaped(key.key) + "</code></h2><p>" +
                     std::to_string(key.count) + (key.count == 1 ? " capture" : " captures") +
                     (key.count > static_cast<int>(key.captures.size())
                          ? ", the newest " + std::to_string(key.captures.size()) + " shown"
                          : "") +
                     "</p>";
  for (const KeyCapture& capture : key.captures) html += figure(project, capture);
  return html + "</section>";
}

}  // namespace

std::string capturesPage(const nlohmann::json& project, const std::string& locale,
                         const std::vector<KeyCaptures>& keys) {
  const std::string id = project.at("id");
  const std::string title =
      htmlEscaped(project.value("name", id)) + " \u2014 " + htmlEscaped(locale);
  std::string html =
      "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Captures: " + title +
      "</title><style>" + kStyle + "</style></head><body><h1>" + title + "</h1><p>" +
      std::to_string(keys.size()) + (keys.size() == 1 ? " string has" : " strings have") +
      " captures of the app showing where they are used.</p>";
  for (const KeyCaptures& key : keys) html += section(id, key);
  return html + "</body></html>\n";
}

}  // namespace devserver
