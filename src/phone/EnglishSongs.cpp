#include "phone/CatalogueRows.h"

namespace tunevale::phone {

namespace {

constexpr SongRow kEnglishSongs[] = {
    {"eng001", "Paper Lanterns &amp; Rain", "Harbour of Small Hours", 214, "Mirelle Vantine", "", "",
     "Mirelle Vantine", "Osric Fenlow"},
    {"eng002", "Copper Moon Cartography", "Maps We Never Folded", 187, "The Quillon Tides", "Ada Brackwater",
     "", "Ada Brackwater", "Teodor Pell"},
    {"eng003", "Don&#039;t Wake the Lighthouse", "Salt &amp; Cinder", 241, "Jonah Eskerly, Wren Tolliver", "",
     "", "Jonah Eskerly, Wren Tolliver", "Jonah Eskerly"},
    {"eng004", "Seventeen Kites", "Seventeen Kites", 168, "", "", "", "Pia Lundgarde, NULL", "NULL"},
    {"eng005", "A Very Long Letter to the Girl Who Sold Me Umbrellas on the Last Dry Day of September",
     "Letters, Mostly Unsent", 302, "Barnaby Oakenrill", "Cleo Marchetti-Voss", "", "Barnaby Oakenrill",
     "Cleo Marchetti-Voss"},
    {"eng006", "&quot;Hello&quot; From the Third Floor", "Stairwell Sessions", 195, "Odd Numbers Choir", "",
     "", "Odd Numbers Choir", "Hollis Wrenfield"},
    {"eng007", "Glass Orchard", "Glass Orchard", 226, "Sable Wintergreen", "Kit Amberley", "",
     "Sable Wintergreen, Kit Amberley", "Sable Wintergreen"},
    {"eng008", "Slow Train, Quick Heart", "Timetables", 178, "", "Lorcan Dray", "", "Lorcan Dray",
     "Ines Halloran"},
    {"eng009", "Bread &amp; Thunder", "Kitchen Weather", 203, "Marrow &amp; Thyme", "", "", "Tamsin Crook",
     "Marrow &amp; Thyme"},
    {"eng010", "Nobody&#39;s Satellite", "Low Orbit", 259, "Echo Parallax", "", "", "Vesper Nakamori-Hale",
     "Echo Parallax"},
    {"eng011", "Velvet Static", "Low Orbit", 233, "Echo Parallax", "Juniper Slate", "", "Juniper Slate",
     "Echo Parallax"},
    {"eng012", "Foxglove Radio", "Wild Frequencies", 199, "", "", "", "Elowen Marsh, Caspian Rooke",
     "Caspian Rooke"},
    {"eng013", "Tin Roof Symphony &ndash; Part One", "Rain Studies", 274, "Orla Finchley Ensemble", "", "",
     "Orla Finchley", "Orla Finchley"},
    {"eng014", "We Were Almost Weather", "Forecast", 190, "Mirelle Vantine, The Quillon Tides", "", "",
     "Mirelle Vantine", "Teodor Pell"},
    {"eng015", "Goodnight, Ferris Wheel", "Closing Time at the Fair", 246, "Wren Tolliver", "NULL",
     "Dashiell Corby", "Wren Tolliver", "Osric Fenlow"},
};

}  // namespace

std::span<const SongRow> englishSongs() {
  return kEnglishSongs;
}

}  // namespace tunevale::phone
