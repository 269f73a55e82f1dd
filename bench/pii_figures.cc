#include "pii_figures.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "desktop/name_tagger.h"
#include "redaction/pii_filter.h"

namespace zarn::bench {
namespace {

using Clock = std::chrono::steady_clock;

/// Seconds of one scrub, for each of `rounds` rounds of `repeats`, in ascending order.
std::vector<double> secondsOf(const redaction::PiiFilter& filter, const std::string& text,
                              int rounds, int repeats) {
  std::vector<double> seconds;
  volatile std::size_t sink = 0;  // so that no call can be left out
  for (int round = 0; round < rounds; ++round) {
    const auto start = Clock::now();
    for (int i = 0; i < repeats; ++i) sink = sink + filter.scrub(text).text.size();
    const std::chrono::duration<double> taken = Clock::now() - start;
    seconds.push_back(taken.count() / repeats);
  }
  std::sort(seconds.begin(), seconds.end());
  return seconds;
}

double median(const std::vector<double>& ascending) {
  return ascending[ascending.size() / 2];
}

std::vector<std::string> cleanTexts() {
  std::vector<std::string> texts = {
      "The quick brown fox jumps over the lazy dog and goes on to sleep",
      "Add to cart: two pairs of blue running shoes in size 42, 89.90 EU",
      "Your Order Has Been Shipped And Will Arrive On Monday Before Noon",
      "checkout/step-2/payment?method=card&currency=eur&items=3&total=59",
      "Größe wählen, Farbe prüfen, zur Kasse gehen und später bezahlen.",
  };
  for (std::string& text : texts) text.resize(64, '.');
  return texts;
}

std::vector<std::string> hostileTexts() {
  constexpr std::size_t kSize = 64 * 1024;
  std::vector<std::string> texts;
  for (const std::string piece : {"a",
                                  "a@",
                                  "a.",
                                  "@a.",
                                  "1",
                                  "1 ",
                                  "1-(",
                                  "eyJ",
                                  "eyJ-",
                                  "eyJa.",
                                  "-a",
                                  "12-",
                                  "@ab",
                                  "a@b.cc ",
                                  "+49 30 1234567 ",
                                  "1 1 1 1 1 1x",
                                  "AB12CD",
                                  "\u0661\u00A0",
                                  "\u212A@",
                                  "Anna ",
                                  "A-",
                                  "Mr ",
                                  "J.",
                                  "van ",
                                  "Anna.Smith@",
                                  "\xFF"}) {
    std::string text;
    while (text.size() < kSize) text += piece;
    texts.push_back(std::move(text));
  }
  return texts;
}

}  // namespace

double scrubClean64Us() {
  const desktop::DictionaryNameTagger tagger;
  const redaction::PiiFilter filter(tagger);
  std::vector<double> seconds;
  for (const std::string& text : cleanTexts())
    seconds.push_back(median(secondsOf(filter, text, 21, 2000)));
  std::sort(seconds.begin(), seconds.end());
  return median(seconds) * 1e6;
}

double scrubHostile64kMs() {
  const desktop::DictionaryNameTagger tagger;
  const redaction::PiiFilter filter(tagger);
  redaction::PiiFilter::prepare();
  double worst = 0;
  for (const std::string& text : hostileTexts()) {
    worst = std::max(worst, secondsOf(filter, text, 9, 1).front());
  }
  return worst * 1e3;
}

}  // namespace zarn::bench
