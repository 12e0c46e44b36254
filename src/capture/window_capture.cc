#include "capture/window_capture.h"

#include <algorithm>
#include <deque>
#include <nlohmann/json.hpp>

#include "base/utf.h"
#include "capture/display_checks.h"
#include "capture/png_writer.h"
#include "capture/tool_host.h"
#include "core/main_controller.h"
#include "server/api.h"
#include "server/session.h"

namespace kolvane {
namespace {

// Enough for the windows of one review; each holds a picture, so not many more.
constexpr std::size_t kCapturesKept = 8;

std::deque<std::shared_ptr<const KVWindowCapture>>& keptCaptures() {
  static std::deque<std::shared_ptr<const KVWindowCapture>> captures;
  return captures;
}

// `rect` (on screen) in the picture of the window, clipped to it; none when nothing is left.
std::optional<KVRect> inPicture(const KVRect& rect, const KVRect& window, double scaleX,
                                double scaleY, int width, int height) {
  const double left = std::clamp((rect.x - window.x) * scaleX, 0.0, double(width));
  const double top = std::clamp((rect.y - window.y) * scaleY, 0.0, double(height));
  const double right = std::clamp((rect.x + rect.width - window.x) * scaleX, 0.0, double(width));
  const double bottom = std::clamp((rect.y + rect.height - window.y) * scaleY, 0.0, double(height));
  // Written so that a rectangle with a NaN in it is dropped too.
  if (!(right > left && bottom > top)) return std::nullopt;
  return KVRect{left, top, right - left, bottom - top};
}

// What a server is asked to take at most, so that no window's capture is refused whole for
// one text out of the ordinary: regions, keys of a region, bytes of a key, characters of a text
// (at most four bytes each in UTF-8).
constexpr std::size_t kMostRegions = 20'000;
constexpr std::size_t kMostKeysPerRegion = 64;
constexpr std::size_t kLongestKey = 4096;
constexpr std::size_t kLongestText = 1024;

std::u16string boundedText(std::u16string text) {
  if (text.size() <= kLongestText) return text;
  std::size_t cut = kLongestText;
  // Not between the two halves of a character.
  if (text[cut - 1] >= 0xD800 && text[cut - 1] <= 0xDBFF) --cut;
  text.resize(cut);
  return text;
}

KVCaptureDelivery notSent(KVCaptureDelivery::Outcome outcome, std::u16string reason) {
  return {outcome, 0, std::move(reason)};
}

// Why translators should not get `capture`, if they should not.
std::optional<std::u16string> reasonNotForTranslators(const KVWindowCapture& capture) {
  if (!KVMainController::sharedInstance().locale()) return u"No language is shown.";
  // The window is not as translators will see it.
  if (kv_pseudoTranslation()) return u"Pseudo-translation is on.";
  if (kv_rightToLeft()) return u"Right to left is on.";
  if (capture.regions.empty()) return u"No string is shown in this window.";
  return std::nullopt;
}

void send(const std::string& png, const std::string& regions,
          std::function<void(KVCaptureDelivery)> completion) {
  KVApi::sendCapture(
      png, regions,
      [completion = std::move(completion)](std::optional<KVError> error, std::size_t attached) {
        if (error) {
          return completion(
              notSent(KVCaptureDelivery::Outcome::failed, toUtf16(error->localizedDescription)));
        }
        completion({KVCaptureDelivery::Outcome::sent, attached, {}});
      });
}

}  // namespace

std::vector<KVCaptureRegion> kv_captureRegions(const std::vector<KVInventoryEntry>& entries,
                                               const KVRect& windowRect, int pictureWidth,
                                               int pictureHeight) {
  std::vector<KVCaptureRegion> regions;
  if (windowRect.width <= 0 || windowRect.height <= 0) return regions;
  const double scaleX = pictureWidth / windowRect.width;
  const double scaleY = pictureHeight / windowRect.height;
  for (const KVInventoryEntry& entry : entries) {
    if (!entry.rect || entry.row.strings.empty()) continue;
    const auto rect =
        inPicture(*entry.rect, windowRect, scaleX, scaleY, pictureWidth, pictureHeight);
    if (!rect) continue;
    KVCaptureRegion region{boundedText(entry.row.text), {}, *rect};
    for (const KVWindowTextString& string : entry.row.strings) {
      if (string.key.size() <= kLongestKey && region.keys.size() < kMostKeysPerRegion) {
        region.keys.push_back(string.key);
      }
    }
    if (region.keys.empty()) continue;
    regions.push_back(std::move(region));
    if (regions.size() == kMostRegions) break;
  }
  return regions;
}

std::optional<KVWindowCapture> kv_captureWindow(const std::shared_ptr<KVHostWindow>& window) {
  if (!window) return std::nullopt;
  const auto rect = window->rectOnScreen();
  const auto picture = window->picture();
  if (!rect || !picture) return std::nullopt;
  auto png = kv_pngFromPixels(*picture);
  if (!png) return std::nullopt;
  KVWindowCapture capture;
  capture.image = {std::move(*png), picture->width, picture->height};
  capture.regions =
      kv_captureRegions(kv_windowInventory(window), *rect, picture->width, picture->height);
  return capture;
}

std::string kv_captureRegionsJson(const std::vector<KVCaptureRegion>& regions) {
  nlohmann::json array = nlohmann::json::array();
  for (const KVCaptureRegion& region : regions) {
    array.push_back({{"keys", region.keys},
                     {"text", toUtf8(region.text)},
                     {"x", region.rect.x},
                     {"y", region.rect.y},
                     {"width", region.rect.width},
                     {"height", region.rect.height}});
  }
  // A key need not be valid UTF-8 (it comes from the app); the server gets it replaced, not
  // an exception.
  return array.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void kv_keepCapture(std::shared_ptr<const KVWindowCapture> capture) {
  if (!capture) return;
  auto& captures = keptCaptures();
  captures.push_front(std::move(capture));
  if (captures.size() > kCapturesKept) captures.pop_back();
}

std::optional<KVStringSighting> kv_lastSighting(const std::string& key) {
  for (const auto& capture : keptCaptures()) {
    for (const KVCaptureRegion& region : capture->regions) {
      if (std::find(region.keys.begin(), region.keys.end(), key) != region.keys.end()) {
        return KVStringSighting{capture, region.rect};
      }
    }
  }
  return std::nullopt;
}

void kv_forgetCaptures() { keptCaptures().clear(); }

void kv_deliverCapture(const KVWindowCapture& capture,
                       std::function<void(KVCaptureDelivery)> completion) {
  using Outcome = KVCaptureDelivery::Outcome;
  if (!KVSession::sharedInstance().isLoggedIn()) {
    return completion(notSent(Outcome::notSignedIn, u"Nobody is signed in."));
  }
  if (auto reason = reasonNotForTranslators(capture)) {
    return completion(notSent(Outcome::notForTranslators, std::move(*reason)));
  }
  KVApi::projectTakesCaptures(
      [png = capture.image.png, regions = kv_captureRegionsJson(capture.regions),
       completion = std::move(completion)](std::optional<KVError> error, bool takes) mutable {
        if (error)
          return completion(notSent(Outcome::failed, toUtf16(error->localizedDescription)));
        if (!takes) {
          return completion(
              notSent(Outcome::notTakenThere, u"The translation server does not take captures."));
        }
        send(png, regions, std::move(completion));
      });
}

std::shared_ptr<const KVWindowCapture> kv_captureAndDeliver(
    const std::shared_ptr<KVHostWindow>& window, std::function<void(KVCaptureDelivery)> delivered) {
  auto capture = kv_captureWindow(window);
  if (!capture) return nullptr;
  auto kept = std::make_shared<const KVWindowCapture>(std::move(*capture));
  kv_keepCapture(kept);
  kv_deliverCapture(*kept, [delivered = std::move(delivered)](KVCaptureDelivery delivery) {
    if (delivered) delivered(std::move(delivery));
  });
  return kept;
}

std::shared_ptr<const KVWindowCapture> kv_captureKeyWindow(
    std::function<void(KVCaptureDelivery)> delivered) {
  const auto host = kv_toolHost();
  return host ? kv_captureAndDeliver(host->keyWindow(), std::move(delivered)) : nullptr;
}

}  // namespace kolvane
