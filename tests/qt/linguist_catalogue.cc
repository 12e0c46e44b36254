#include "qt/linguist_catalogue.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <random>

#include "strings/qt_numerus_forms.h"
#include "strings/xml_nodes.h"

namespace kolvane::testing {
namespace {

using xml::escaped;

// Letters of each language's script, UTF-8, for made-up words.
const std::map<std::string, std::vector<std::string>>& alphabets() {
  static const std::map<std::string, std::vector<std::string>> letters{
      {"ru", {"а", "б", "в", "г", "д", "е", "ж", "з", "и", "к", "л",
              "м", "н", "о", "п", "р", "с", "т", "у", "ф", "ы", "я"}},
      {"pl", {"a", "ą", "b", "c", "ć", "d", "e", "ę", "g", "k", "ł", "m",
              "n", "ń", "o", "ó", "r", "s", "ś", "t", "w", "z", "ź", "ż"}},
      {"ar", {"ا", "ب", "ت", "ث", "ج", "ح", "خ", "د", "ر", "س", "ش",
              "ص", "ع", "ف", "ق", "ك", "ل", "م", "ن", "ه", "و", "ي"}},
      {"ja", {"あ", "い", "う", "え", "お", "か", "き", "く", "さ", "し", "す",
              "た", "ち", "な", "に", "ア", "イ", "カ", "キ", "語", "日", "本"}},
      {"en", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "l",
              "m", "n", "o", "p", "r", "s", "t", "u", "w", "y"}},
  };
  return letters;
}

// Languages without letters of their own here write in English's.
const std::vector<std::string>& lettersOf(const std::string& language) {
  const auto found = alphabets().find(language);
  return found != alphabets().end() ? found->second : alphabets().at("en");
}

class Words {
 public:
  Words(const std::string& language, unsigned seed)
      : letters_(lettersOf(language)), random_(seed) {}
  std::string word() {
    std::string text;
    const int length = 2 + static_cast<int>(random_() % 7);
    for (int i = 0; i < length; ++i) text += letters_[random_() % letters_.size()];
    return text;
  }
  std::string phrase(int words) {
    std::string text = word();
    for (int i = 1; i < words; ++i) text += " " + word();
    return text;
  }
  unsigned next(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

 private:
  const std::vector<std::string>& letters_;
  std::mt19937 random_;
};

// One source text and its translation, of one of the shapes real apps have.
struct Shape {
  std::string source;
  std::string translation;
  bool numerus = false;
};

Shape shapeOf(unsigned kind, Words& english, Words& native) {
  switch (kind) {
    case 0:
      return {"&" + english.phrase(2), "&" + native.phrase(2)};
    case 1:
      return {english.phrase(3) + " %1", native.phrase(2) + " %1 " + native.word()};
    case 2:
      return {"%1 " + english.word() + " %2", "%2 " + native.word() + " %1"};
    case 3:
      return {"<b>" + english.phrase(2) + "</b> " + english.phrase(3),
              "<b>" + native.phrase(2) + "</b> " + native.phrase(3)};
    case 4:
      return {english.phrase(4) + "\n" + english.phrase(3),
              native.phrase(4) + "\n" + native.phrase(3)};
    case 5:
      return {"%n " + english.word() + "(s)", native.word(), true};
    case 6:
      return {english.phrase(2) + " %L1 " + english.word(), native.phrase(2) + " %L1"};
    case 7:
      return {english.phrase(6) + ". " + english.phrase(5) + ".",
              native.phrase(6) + ". " + native.phrase(5) + "."};
    default:
      return {english.phrase(1 + kind % 3), native.phrase(1 + kind % 3)};
  }
}

}  // namespace

LinguistCatalogue makeLinguistCatalogue(const std::string& language, std::size_t contexts,
                                        std::size_t messages) {
  LinguistCatalogue catalogue;
  catalogue.language = language;
  catalogue.numerusForms = kv_qtNumerusCategories(language).size();
  std::vector<Shape> earlier;  // the shapes of the context before
  Words english("en", 7);
  Words native(language, 11);
  std::string& ts = catalogue.ts;
  ts =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"" +
      language + "\" sourcelanguage=\"en\">\n";
  const std::size_t perContext =
      std::max<std::size_t>(1, messages / std::max<std::size_t>(1, contexts));
  for (std::size_t c = 0; c < contexts; ++c) {
    const std::string context = "Window" + std::to_string(c);
    ts += "<context>\n    <name>" + context + "</name>\n";
    std::vector<Shape> shapes;
    for (std::size_t m = 0; m < perContext; ++m) {
      const unsigned kind = english.next(12);
      Shape shape = shapeOf(kind, english, native);
      // Now and then a source text of the context before, translated otherwise here.
      if (m % 13 == 5 && m < earlier.size()) {
        shape.source = earlier[m].source;
        shape.numerus = earlier[m].numerus;
      }
      shapes.push_back(shape);
      LinguistMessage message{context, shape.source, "", shape.numerus};
      // Every seventh message has a twin told apart by a comment.
      const bool twin = m % 7 == 3;
      for (int copy = 0; copy < (twin ? 2 : 1); ++copy) {
        if (twin) message.disambiguation = copy == 0 ? "noun" : "verb";
        ts += std::string("    <message") + (shape.numerus ? " numerus=\"yes\"" : "") + ">\n";
        ts += "        <source>" + escaped(shape.source) + "</source>\n";
        if (!message.disambiguation.empty()) {
          ts += "        <comment>" + message.disambiguation + "</comment>\n";
        }
        const unsigned state = native.next(20);
        const std::string type = state == 0   ? " type=\"unfinished\""
                                 : state == 1 ? " type=\"vanished\""
                                 : state == 2 ? " type=\"obsolete\""
                                              : "";
        if (state == 3) {
          ts += "        <translation type=\"unfinished\"></translation>\n";
        } else if (shape.numerus) {
          ts += "        <translation" + type + ">\n";
          for (std::size_t form = 0; form < catalogue.numerusForms; ++form) {
            ts += "            <numerusform>%n " + escaped(shape.translation) +
                  std::to_string(form) + "</numerusform>\n";
          }
          ts += "        </translation>\n";
        } else {
          ts += "        <translation" + type + ">" + escaped(shape.translation) +
                (copy == 1 ? " (2)" : "") + "</translation>\n";
        }
        ts += "    </message>\n";
        catalogue.messages.push_back(message);
      }
    }
    ts += "</context>\n";
    earlier = std::move(shapes);
  }
  ts += "</TS>\n";
  return catalogue;
}

std::string compileLinguistCatalogue(const LinguistCatalogue& catalogue,
                                     const std::string& lrelease, const std::string& folder,
                                     const std::string& name) {
  const std::string ts = folder + "/" + name + ".ts";
  const std::string qm = folder + "/" + name + ".qm";
  std::ofstream(ts, std::ios::binary) << catalogue.ts;
  const std::string command = "'" + lrelease + "' -silent '" + ts + "' -qm '" + qm + "'";
  if (std::system(command.c_str()) != 0) return {};
  return qm;
}

}  // namespace kolvane::testing
