#include "Charts.h"

#include <array>
#include <random>
#include <string>

namespace tunevale::bench {
namespace {

using Random = std::mt19937;

template <std::size_t n>
std::string pick(Random& random, const std::array<const char*, n>& words) {
  return words[random() % n];
}

std::string hexadecimal(Random& random, int digits) {
  std::string text;
  while (static_cast<int>(text.size()) < digits) text += "0123456789abcdef"[random() % 16];
  return text;
}

std::string title(Random& random) {
  static constexpr std::array kWords = {"Monsoon", "River",  "Lantern", "Paper",  "Midnight",
                                        "Silver",  "Garden", "Echo",    "Winter", "Harbour",
                                        "Slow",    "Bright", "Kite",    "Salt"};
  static constexpr std::array kHindi = {"बारिश", "चाँदनी", "सपने", "दिल", "रात", "सफ़र"};
  static constexpr std::array kTamil = {"மழை", "நிலா", "கனவு", "இரவு", "கடல்"};
  switch (random() % 4) {
    case 0:
      return pick(random, kHindi) + " " + pick(random, kHindi);
    case 1:
      return pick(random, kTamil) + " " + pick(random, kTamil);
    default:
      return pick(random, kWords) + " &amp; " + pick(random, kWords) + " " + std::to_string(random() % 1000);
  }
}

PlistDictionary artist(Random& random, const char* role) {
  static constexpr std::array kFirst = {"Asha", "Ravi", "Meera", "Kabir", "Leela", "Nila", "Omar", "Tara"};
  static constexpr std::array kLast = {"Verma", "Iyer", "Sen", "Rao", "Das", "Khan", "Pillai", "Bose"};
  const auto number = random() % 64;
  const std::string name = std::string(kFirst[number % 8]) + " " + kLast[number / 8];
  return {{"id", std::to_string(400000 + number)},
          {"name", name},
          {"role", role},
          {"type", "artist"},
          {"image", "https://images.example/artists/" + std::to_string(number) + "_150.jpg"},
          {"url", "https://tunevale.example/artist/" + std::to_string(number)}};
}

PlistArray artists(Random& random, std::initializer_list<const char*> roles) {
  PlistArray list;
  for (const char* role : roles) list.append(artist(random, role));
  return list;
}

PlistDictionary song(Random& random, int rank) {
  static constexpr std::array kLanguages = {"hindi", "tamil", "english"};
  const std::string id = hexadecimal(random, 8);
  const PlistDictionary artistMap{{"primary_artists", artists(random, {"singer", "music"})},
                                  {"featured_artists", PlistArray{}},
                                  {"artists", artists(random, {"singer", "music", "starring", "lyricist"})}};
  const PlistDictionary rights{{"code", 0}, {"cacheable", true}, {"deleted", false}, {"reason", ""}};
  const PlistDictionary info{{"album", title(random)},
                             {"album_id", std::to_string(random() % 10000000)},
                             {"label", "Lantern Records"},
                             {"origin", "chart"},
                             {"media_url", hexadecimal(random, 64)},
                             {"duration", std::to_string(150 + random() % 200)},
                             {"release_date", "2024-0" + std::to_string(1 + random() % 9) + "-11"},
                             {"copyright", "© 2024 Lantern Records"},
                             {"vcode", std::to_string(random())},
                             {"starred", random() % 2 == 0},
                             {"gain", -0.25 * static_cast<double>(random() % 40)},
                             {"rights", rights},
                             {"artistMap", artistMap}};
  return {{"id", id},
          {"title", title(random)},
          {"subtitle", title(random)},
          {"type", "song"},
          {"url", "https://tunevale.example/song/" + id},
          {"image", "https://images.example/" + hexadecimal(random, 12) + "_500.jpg"},
          {"language", pick(random, kLanguages)},
          {"year", "2024"},
          {"play_count", static_cast<std::int64_t>(random() % 90000000)},
          {"explicit_content", false},
          {"rank", rank},
          {"list", ""},
          {"more_info", info}};
}

}  // namespace

PlistDictionary chart(int songs) {
  Random random(15);
  PlistArray list;
  for (int rank = 1; rank <= songs; ++rank) list.append(song(random, rank));
  return {{"list", list}, {"language", "hindi"}, {"title", "Weekly Top 15"}};
}

}  // namespace tunevale::bench
