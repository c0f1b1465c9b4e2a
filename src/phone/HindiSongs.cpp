#include "phone/CatalogueRows.h"

namespace tunevale::phone {

namespace {

constexpr SongRow kHindiSongs[] = {
    {"hin001", "काग़ज़ की छतरी", "बरामदे की धूप", 251, "Ishvani Velkar, Rudransh Motilekar", "",
     "Tanmesh Arolkar", "Ishvani Velkar, Rudransh Motilekar", "Prithvan Sohlekar"},
    {"hin002", "साढ़े सात बजे की रेल", "साढ़े सात बजे की रेल", 228, "Devakshi Thomrey", "", "Meenal Karvanth",
     "Devakshi Thomrey", "Prithvan Sohlekar"},
    {"hin003", "चाय &amp; बारिश", "खिड़की के उस पार", 203, "Rudransh Motilekar", "Anvika Deshrath", "",
     "Rudransh Motilekar, Anvika Deshrath", "Kabiran Zohri"},
    {"hin004", "नींद से पहले का शहर", "शहर, धीमी आँच पर", 277, "Kabiran Zohri", "",
     "Tanmesh Arolkar, Meenal Karvanth", "Kabiran Zohri", "Kabiran Zohri"},
    {"hin005", "पीली साइकिल वाली चिट्ठी जो कभी डाकघर तक नहीं पहुँची", "अधूरी डाक", 312, "Samvriti Nolkhe", "", "",
     "Samvriti Nolkhe", "Jivaan Utpatkar"},
    {"hin006", "Mausam Ki Ginti", "Ginti", 184, "", "", "", "NULL, Harivansh Duggarwal", "Jivaan Utpatkar"},
    {"hin007", "आधा चाँद, पूरा आँगन", "आँगन", 239, "Ishvani Velkar", "", "", "Ishvani Velkar",
     "Farhaad Quresini"},
    {"hin008", "&quot;ठहरो&quot; कहा नदी ने", "नदी के नाम", 266, "Anvika Deshrath", "", "Omkesh Barotkar",
     "Anvika Deshrath", "Farhaad Quresini"},
    {"hin009", "Dilli Se Door Ki Baat", "Do Station Aage", 197, "", "Zainah Mirpuri", "", "Zainah Mirpuri",
     "Kabiran Zohri"},
    {"hin010", "मिट्टी के रेडियो", "मिट्टी के रेडियो", 221, "Harivansh Duggarwal", "", "", "Harivansh Duggarwal",
     "Harivansh Duggarwal"},
    {"hin011", "सौ क़दम की दोपहर", "छाँव &ndash; भाग दो", 244, "Devakshi Thomrey, Samvriti Nolkhe", "", "",
     "Devakshi Thomrey, Samvriti Nolkhe", "Prithvan Sohlekar"},
    {"hin012", "Patang Ka Pata", "Chhat Pe Aao", 176, "", "", "Omkesh Barotkar",
     "Rudransh Motilekar, Zainah Mirpuri", "Jivaan Utpatkar"},
    {"hin013", "गुलमोहर की अदालत", "लाल दिन", 258, "Farhaad Quresini", "", "", "Farhaad Quresini",
     "Farhaad Quresini"},
    {"hin014", "धूप का एक टुकड़ा मेरे नाम", "बरामदे की धूप", 209, "Ishvani Velkar", "Kabiran Zohri", "",
     "Ishvani Velkar, Kabiran Zohri", "Prithvan Sohlekar"},
    {"hin015", "फिर वही अलार्म", "सोमवार", 163, "The Somvaar Sangh", "", "", "The Somvaar Sangh",
     "The Somvaar Sangh"},
};

}  // namespace

std::span<const SongRow> hindiSongs() {
  return kHindiSongs;
}

}  // namespace tunevale::phone
