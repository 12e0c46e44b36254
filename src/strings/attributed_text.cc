#include "kolvane/attributed_text.h"

#include <algorithm>

namespace kolvane {

KVAttributedText::KVAttributedText(std::u16string text, KVTextAttributes attributes)
    : text_(std::move(text)) {
  if (!text_.empty()) runs_.push_back({text_.size(), std::move(attributes)});
}

std::pair<std::size_t, std::size_t> KVAttributedText::runAt(std::size_t index) const {
  std::size_t start = 0;
  for (std::size_t run = 0; run < runs_.size(); ++run) {
    if (index < start + runs_[run].length) return {run, start};
    start += runs_[run].length;
  }
  return {runs_.size(), start};
}

KVTextAttributes KVAttributedText::attributesAt(std::size_t index, KVRange limit,
                                                KVRange* effective) const {
  const auto [run, start] = runAt(index);
  if (run == runs_.size()) {
    if (effective != nullptr) *effective = {index, 0};
    return {};
  }
  // Neighbouring runs differ, so the run itself is the effective range; cut it to the limit.
  const std::size_t from = std::max(start, limit.location);
  const std::size_t to = std::min(start + runs_[run].length, limit.location + limit.length);
  if (effective != nullptr) *effective = {from, to > from ? to - from : 0};
  return runs_[run].attributes;
}

void KVAttributedText::enumerateRuns(
    const std::function<void(KVRange, const KVTextAttributes&)>& visit) const {
  std::size_t start = 0;
  for (const Run& run : runs_) {
    visit({start, run.length}, run.attributes);
    start += run.length;
  }
}

void KVAttributedText::append(std::u16string_view text, const KVTextAttributes& attributes) {
  if (text.empty()) return;
  text_ += text;
  runs_.push_back({text.size(), attributes});
  mergeNeighbours();
}

void KVAttributedText::replaceCharacters(KVRange range, std::u16string_view text) {
  const std::size_t from = std::min(range.location, text_.size());
  const std::size_t to = std::min(from + range.length, text_.size());
  KVTextAttributes attributes;
  if (!runs_.empty()) {
    const std::size_t source = from < to || from == 0 ? from : from - 1;
    const std::size_t run = runAt(source).first;
    attributes = runs_[std::min(run, runs_.size() - 1)].attributes;
  }
  // The runs before the range, the new text, the runs after it.
  std::vector<Run> before;
  std::vector<Run> after;
  std::size_t start = 0;
  for (const Run& run : runs_) {
    const std::size_t end = start + run.length;
    if (start < from) before.push_back({std::min(end, from) - start, run.attributes});
    if (end > to) after.push_back({end - std::max(start, to), run.attributes});
    start = end;
  }
  runs_ = std::move(before);
  if (!text.empty()) runs_.push_back({text.size(), attributes});
  runs_.insert(runs_.end(), after.begin(), after.end());
  text_.replace(from, to - from, text);
  mergeNeighbours();
}

void KVAttributedText::mergeNeighbours() {
  std::vector<Run> merged;
  for (Run& run : runs_) {
    if (run.length == 0) continue;
    if (!merged.empty() && merged.back().attributes == run.attributes) {
      merged.back().length += run.length;
    } else {
      merged.push_back(std::move(run));
    }
  }
  runs_ = std::move(merged);
}

}  // namespace kolvane
