#include "phone/CatalogueRows.h"

namespace tunevale::phone {

namespace {

constexpr SongRow kTamilSongs[] = {
    {"tam001", "மழைக்கு ஒரு முகவரி", "ஜன்னல் ஓரம்", 246, "Yazhvendhan Karuvoor", "", "Elamaran Thisaiyan",
     "Yazhvendhan Karuvoor", "Isaivanan Pothikai"},
    {"tam002", "காகிதக் கப்பல் கடிதம்", "கரை சேராத கடிதங்கள்", 218, "Nilamozhi Venkuzhal", "Adhiran Mullaivel", "",
     "Nilamozhi Venkuzhal, Adhiran Mullaivel", "Isaivanan Pothikai"},
    {"tam003", "ஏழாம் வீதி &amp; நிலா", "ஏழாம் வீதி", 232, "Adhiran Mullaivel", "", "Poonguyil Sembiyan",
     "Adhiran Mullaivel", "Thooriga Maaran"},
    {"tam004", "தாமதமான ரயில்", "நடைமேடை மூன்று", 199, "", "", "", "Kayalthendral Oviyar", "NULL"},
    {"tam005", "மாடிப்படியில் மறந்து வைத்த மாலை வெயிலுக்கு ஒரு நீண்ட நன்றிக் கடிதம்", "மாலை வெயில்", 318,
     "Thooriga Maaran", "", "", "Thooriga Maaran", "Thooriga Maaran"},
    {"tam006", "Kaatrin Kaiyezhuthu", "Vaanoli Naatkal", 207, "Kayalthendral Oviyar", "", "",
     "Kayalthendral Oviyar", "Semman Arivazhi"},
    {"tam007", "பனித்துளி வானொலி", "வானொலி நாட்கள்", 254, "Nilamozhi Venkuzhal", "", "Elamaran Thisaiyan",
     "Nilamozhi Venkuzhal", "Semman Arivazhi"},
    {"tam008", "&quot;நில்&quot; என்றது அலை", "அலைவரிசை", 227, "", "Poonguyil Sembiyan", "",
     "Poonguyil Sembiyan", "Isaivanan Pothikai"},
    {"tam009", "செம்மண் பாதை", "செம்மண் பாதை", 263, "Semman Arivazhi, Yazhvendhan Karuvoor", "", "",
     "Semman Arivazhi, Yazhvendhan Karuvoor", "Semman Arivazhi"},
    {"tam010", "Thoongaadha Theru Vilakku", "Iravu Velai", 191, "Adhiran Mullaivel", "NULL", "",
     "Adhiran Mullaivel", "Thooriga Maaran"},
    {"tam011", "பட்டம் விடும் பாட்டி", "மொட்டை மாடி", 174, "The Mottai Maadi Kuzhu", "", "",
     "The Mottai Maadi Kuzhu", "The Mottai Maadi Kuzhu"},
    {"tam012", "நாளை என்ற ஊர்", "நாளை &ndash; முதல் பாகம்", 285, "", "", "Poonguyil Sembiyan",
     "Yazhvendhan Karuvoor, Nilamozhi Venkuzhal", "Isaivanan Pothikai"},
    {"tam013", "குடை பிடித்த நட்சத்திரம்", "ஜன்னல் ஓரம்", 236, "Yazhvendhan Karuvoor", "", "",
     "Yazhvendhan Karuvoor", "Isaivanan Pothikai"},
    {"tam014", "Oru Cup Kaapi, Oru Kadhai", "Kaapi Kadai", 182, "Kayalthendral Oviyar", "Thooriga Maaran", "",
     "Kayalthendral Oviyar, Thooriga Maaran", "Semman Arivazhi"},
    {"tam015", "மௌனத்தின் மூன்றாம் சரணம்", "மௌனம்", 298, "Nilamozhi Venkuzhal", "", "", "Nilamozhi Venkuzhal",
     "Thooriga Maaran"},
};

}  // namespace

std::span<const SongRow> tamilSongs() {
  return kTamilSongs;
}

}  // namespace tunevale::phone
