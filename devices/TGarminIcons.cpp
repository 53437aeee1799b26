#include "devices/TGarminIcons.hpp"

#include <charconv>
#include <string>

#include <cctype>

namespace pixtrail {

namespace {

// Number, name, second name, own icon, second number, third number, letter code.
constexpr std::array<TGarminIcon, TGarminIcons::kCount> kIcons{{
    {0, "Marina", "", 35, 6, -1, "w"},
    {1, "Bell", "", -1, -1, -1, ""},
    {2, "Green Diamond", "Diamond, Green", -1, -1, -1, ""},
    {3, "Red Diamond", "Diamond, Red", -1, -1, -1, ""},
    {4, "diver down flag 1", "Diver Down Flag 1", -1, -1, -1, ""},
    {5, "diver down flag 2", "Diver Down Flag 2", -1, -1, -1, ""},
    {6, "Bank", "", 2, -1, -1, "g"},
    {7, "Fishing Area", "", 23, 4, -1, "s"},
    {8, "Gas Station", "", 25, 2, -1, "o"},
    {9, "Horn", "", -1, -1, -1, ""},
    {10, "Residence", "", 46, 1, -1, "c"},
    {181, "Residence 2", "", -1, -1, -1, ""},
    {11, "Restaurant", "", 47, -1, -1, "ac"},
    {12, "Light", "", -1, -1, -1, ""},
    {14, "Skull and Crossbones", "", 20, 9, -1, ""},
    {15, "Green Square", "Square, Green", -1, -1, -1, ""},
    {16, "Red Square", "Square, Red", -1, -1, -1, ""},
    {17, "White Bouy", "White Buoy", -1, -1, -1, ""},
    {18, "Waypoint", "", 70, 0, 53, "ai"},
    {19, "Ship Wreck", "ShipWreck", 54, 7, -1, "ao"},
    {20, "Transparent", "", -1, -1, -1, ""},
    {21, "Man Overboard", "", -1, -1, -1, ""},
    {22, "Navaid-Amber", "Navaid, Amber", -1, -1, -1, ""},
    {23, "Navaid-Black", "Navaid, Black", -1, -1, -1, ""},
    {24, "Navaid-Blue", "Navaid, Blue", -1, -1, -1, ""},
    {25, "Navaid-Green", "Navaid, Green", -1, -1, -1, ""},
    {26, "Navaid-Green-Red", "Navaid, Green-Red", -1, -1, -1, ""},
    {27, "Navaid-Green-White", "Navaid, Green-White", -1, -1, -1, ""},
    {28, "Navaid-Orange", "Navaid, Orange", -1, -1, -1, ""},
    {29, "Navaid-Red", "Navaid, Red", -1, -1, -1, ""},
    {30, "Navaid-Red-Green", "Navaid, Red-Green", -1, -1, -1, ""},
    {31, "Navaid-Red-White", "Navaid, Red-White", -1, -1, -1, ""},
    {32, "Navaid-Violet", "Navaid, Violet", -1, -1, -1, ""},
    {33, "Navaid-White", "Navaid, White", -1, -1, -1, ""},
    {34, "Navaid-Green-White", "Navaid, Green-White", -1, -1, -1, ""},
    {35, "Navaid-Red-White", "Navaid, Red-White", -1, -1, -1, ""},
    {36, "White Dot", "", -1, -1, -1, ""},
    {37, "Radio Beacon", "", -1, -1, -1, ""},
    {34, "Navaid-White-Green", "Navaid, White-Green", -1, -1, -1, ""},
    {35, "Navaid-White-Red", "Navaid, White-Red", -1, -1, -1, ""},
    {150, "Boat Ramp", "", 5, 5, -1, ""},
    {151, "Campground", "", 8, 11, -1, "j"},
    {152, "Restroom", "", 48, -1, -1, "aj"},
    {153, "Shower", "", -1, -1, -1, ""},
    {154, "Drinking Water", "", -1, -1, -1, ""},
    {155, "Telephone", "", -1, -1, -1, ""},
    {156, "Medical Facility", "", -1, 14, -1, ""},
    {157, "Information", "", -1, -1, -1, ""},
    {158, "Parking Area", "", -1, -1, -1, ""},
    {159, "Park", "", -1, -1, -1, ""},
    {160, "Picnic Area", "", -1, -1, -1, ""},
    {161, "Scenic Area", "", -1, -1, -1, ""},
    {162, "Skiing Area", "Ski Area", -1, -1, -1, ""},
    {163, "Swimming Area", "", -1, -1, -1, ""},
    {165, "Controlled Area", "", -1, -1, -1, ""},
    {166, "Danger Area", "", -1, -1, -1, ""},
    {167, "Restricted Area", "", -1, -1, -1, ""},
    {168, "Null Symbol", "", -1, -1, -1, ""},
    {169, "Ball Park", "", -1, -1, -1, ""},
    {171, "Hunting Area", "", -1, 13, -1, ""},
    {172, "Shopping Center", "", -1, -1, -1, ""},
    {173, "Lodgind", "Lodging", -1, -1, -1, ""},
    {174, "Mine", "", -1, -1, -1, ""},
    {175, "Trail Head", "Trailhead", -1, -1, -1, ""},
    {176, "Truck Stop", "", -1, -1, -1, ""},
    {177, "Exit", "", -1, 8, -1, ""},
    {178, "Flag", "", -1, 10, -1, ""},
    {179, "Circle with X", "Circle with x", -1, 12, -1, ""},
    {8192, "__8192", "", -1, -1, -1, ""},
    {8193, "__8193", "", -1, -1, -1, ""},
    {8194, "__8194", "", -1, -1, -1, ""},
    {8195, "Mile Marker", "", -1, -1, -1, ""},
    {8196, "TrackBack Point", "", -1, 15, -1, ""},
    {8197, "Golf Course", "", -1, -1, -1, ""},
    {8198, "City (Small)", "", -1, -1, -1, ""},
    {8199, "City (Medium)", "", -1, -1, -1, ""},
    {8200, "City (Large)", "", -1, -1, -1, ""},
    {8201, "__8201", "", -1, -1, -1, ""},
    {8202, "__8202", "", -1, -1, -1, ""},
    {8203, "City (Capitol)", "City (Capital)", -1, -1, -1, ""},
    {8204, "Amusement Park", "", -1, -1, -1, ""},
    {8205, "Bowling", "", -1, -1, -1, ""},
    {8206, "Car Rental", "", -1, 3, -1, ""},
    {8207, "Car Repair", "", -1, -1, -1, ""},
    {8208, "Fast Food", "", -1, -1, -1, ""},
    {8209, "Fitness Center", "", -1, -1, -1, ""},
    {8210, "Movie Theater", "", -1, -1, -1, ""},
    {8211, "Museum", "", -1, -1, -1, ""},
    {8212, "Pharmacy", "", -1, -1, -1, ""},
    {8213, "Pizza", "", -1, -1, -1, ""},
    {8214, "Post Office", "", -1, -1, -1, ""},
    {8215, "RV Park", "", -1, -1, -1, ""},
    {8216, "School", "", -1, -1, -1, ""},
    {8217, "Stadium", "", -1, -1, -1, ""},
    {8218, "Department Store", "", -1, -1, -1, ""},
    {8220, "Convenience Store", "", -1, -1, -1, ""},
    {8221, "Live Theater", "", -1, -1, -1, ""},
    {8222, "__8222", "", -1, -1, -1, ""},
    {8223, "__8223", "", -1, -1, -1, ""},
    {8226, "Scales", "", -1, -1, -1, ""},
    {8227, "Toll Booth", "", -1, -1, -1, ""},
    {8228, "__8228", "", -1, -1, -1, ""},
    {8229, "__8229", "", -1, -1, -1, ""},
    {8230, "__8230", "", -1, -1, -1, ""},
    {8231, "__8231", "", -1, -1, -1, ""},
    {8232, "__8232", "", -1, -1, -1, ""},
    {8233, "Bridge", "", -1, -1, -1, ""},
    {8234, "Building", "", -1, -1, -1, ""},
    {8235, "Cementery", "Cemetery", -1, -1, -1, ""},
    {8236, "Church", "", -1, -1, -1, ""},
    {8237, "Civil", "", -1, -1, -1, ""},
    {8238, "Crossing", "", -1, -1, -1, ""},
    {8239, "Ghost Town", "", -1, -1, -1, ""},
    {8240, "Levee", "", -1, -1, -1, ""},
    {8241, "Military", "", -1, -1, -1, ""},
    {8242, "Oil Field", "", -1, -1, -1, ""},
    {8243, "Tunnel", "", -1, -1, -1, ""},
    {8244, "Beach", "", -1, -1, -1, ""},
    {8245, "Forest", "", -1, -1, -1, ""},
    {8246, "Summit", "", -1, -1, -1, ""},
    {8247, "__8247", "", -1, -1, -1, ""},
    {8248, "__8248", "", -1, -1, -1, ""},
    {8249, "Police Office", "Police Station", -1, -1, -1, ""},
    {8250, "__8250", "", -1, -1, -1, ""},
    {8251, "Snow Skiing", "", -1, -1, -1, ""},
    {8252, "Ice Skating", "", -1, -1, -1, ""},
    {8253, "Tow Truck", "", -1, -1, -1, ""},
    {8254, "__8254", "", -1, -1, -1, ""},
    {8255, "Closed Box", "", -1, -1, -1, ""},
    {8256, "Open Box", "", -1, -1, -1, ""},
    {8284, "Blue Flag", "Flag, Blue", -1, -1, -1, ""},
    {8285, "Green Flag", "Flag, Green", -1, -1, -1, ""},
    {8286, "Red Flag", "Flag, Red", -1, -1, -1, ""},
    {8287, "Blue Booble", "Blue Bubble", -1, -1, -1, ""},
    {8288, "Green Booble", "Green Bubble", -1, -1, -1, ""},
    {8289, "Red Booble", "Red Bubble", -1, -1, -1, ""},
    {8290, "Blue Cube", "Cube, Blue", -1, -1, -1, ""},
    {8291, "Green Cube", "Cube, Green", -1, -1, -1, ""},
    {8292, "Red Cube", "Cube, Red", -1, -1, -1, ""},
    {8293, "Bike", "", -1, -1, -1, ""},
    {8300, "Red Oval", "Oval, Red", -1, -1, -1, ""},
    {8301, "Green Oval", "Oval, Green", -1, -1, -1, ""},
    {8302, "Blue Oval", "Oval, Blue", -1, -1, -1, ""},
    {8353, "Red Triangle", "Triangle, Red", -1, -1, -1, ""},
    {16, "Red Square", "Square, Red", -1, -1, -1, ""},
    {8303, "Red Rectangle", "Rectangle, Red", -1, -1, -1, ""},
    {8294, "Red Circle", "Circle, Red", -1, -1, -1, ""},
    {8352, "Green Triangle", "Triangle, Green", -1, -1, -1, ""},
    {15, "Green Square", "Square, Green", -1, -1, -1, ""},
    {8304, "Green Rectangle", "Rectangle, Green", -1, -1, -1, ""},
    {8295, "Green Circle", "Circle, Green", -1, -1, -1, ""},
    {8351, "Blue Triangle", "Triangle, Blue", -1, -1, -1, ""},
    {8299, "Blue Diamond", "Diamond, Blue", -1, -1, -1, ""},
    {8308, "Blue Square", "Square, Blue", -1, -1, -1, ""},
    {8305, "Blue Rectangle", "Rectangle, Blue", -1, -1, -1, ""},
    {8296, "Blue Circle", "Circle, Blue", -1, -1, -1, ""},
    {8282, "Water Hydrant", "", -1, -1, -1, ""},
    {191, "Marina", "", -1, -1, -1, ""},
    {184, "Anchor Prohibited", "", -1, -1, -1, ""},
    {190, "Dock", "", -1, -1, -1, ""},
    {192, "Bait and Tackle", "", -1, -1, -1, ""},
    {186, "Coast Guard", "", -1, -1, -1, ""},
    {181, "Fishing Hot Spot Facility", "", -1, -1, -1, ""},
    {187, "Reef", "", -1, -1, -1, ""},
    {188, "Weed Bed", "", -1, -1, -1, ""},
    {189, "Dropoff", "", -1, -1, -1, ""},
    {193, "Stump", "", -1, -1, -1, ""},
    {185, "Beacon", "", -1, -1, -1, ""},
    {8262, "Contact-Afro", "Contact, Afro", -1, -1, -1, ""},
    {8272, "Contact-Alien", "Contact, Alien", -1, -1, -1, ""},
    {8258, "Contact-Ball Cap", "Contact, Ball Cap", -1, -1, -1, ""},
    {8259, "Contact-Big Ears", "Contact, Big Ears", -1, -1, -1, ""},
    {8271, "Contact-Biker", "Contact, Biker", -1, -1, -1, ""},
    {8273, "Contact-Bug", "Contact, Bug", -1, -1, -1, ""},
    {8274, "Contact-Cat", "Contact, Cat", -1, -1, -1, ""},
    {8275, "Contact-Dog", "Contact, Dog", -1, -1, -1, ""},
    {8263, "Contact-Dreadlocks", "Contact, Dreadlocks", -1, -1, -1, ""},
    {8264, "Contact-Female1", "Contact, Female1", -1, -1, -1, ""},
    {8265, "Contact-Female2", "Contact, Female2", -1, -1, -1, ""},
    {8266, "Contact-Female3", "Contact, Female3", -1, -1, -1, ""},
    {8261, "Contact-Goatee", "Contact, Goatee", -1, -1, -1, ""},
    {8268, "Contact-Kung-Fu", "Contact, Kung-Fu", -1, -1, -1, ""},
    {8276, "Contact-Pig", "Contact, Pig", -1, -1, -1, ""},
    {8270, "Contact-Pirate", "Contact, Pirate", -1, -1, -1, ""},
    {8267, "Contact-Ranger", "Contact, Ranger", -1, -1, -1, ""},
    {8257, "Contact-Smiley", "Contact, Smiley", -1, -1, -1, ""},
    {8260, "Contact-Spike", "Contact, Spike", -1, -1, -1, ""},
    {8269, "Contact-Sumo", "Contact, Sumo", -1, -1, -1, ""},
    {8309, "Letter A-Red", "Letter A, Red", -1, -1, -1, ""},
    {8310, "Letter B-Red", "Letter B, Red", -1, -1, -1, ""},
    {8311, "Letter C-Red", "Letter C, Red", -1, -1, -1, ""},
    {8312, "Letter D-Red", "Letter D, Red", -1, -1, -1, ""},
    {8317, "Letter A-Blue", "Letter A, Blue", -1, -1, -1, ""},
    {8318, "Letter B-Blue", "Letter B, Blue", -1, -1, -1, ""},
    {8319, "Letter C-Blue", "Letter C, Blue", -1, -1, -1, ""},
    {8320, "Letter D-Blue", "Letter D, Blue", -1, -1, -1, ""},
    {8313, "Letter A-Green", "Letter A, Green", -1, -1, -1, ""},
    {8315, "Letter B-Green", "Letter B, Green", -1, -1, -1, ""},
    {8314, "Letter C-Green", "Letter C, Green", -1, -1, -1, ""},
    {8316, "Letter D-Green", "Letter D, Green", -1, -1, -1, ""},
    {8321, "Number 0-Red", "Number 0, Red", -1, -1, -1, ""},
    {8331, "Number 0-Green", "Number 0, Green", -1, -1, -1, ""},
    {8341, "Number 0-Blue", "Number 0, Blue", -1, -1, -1, ""},
    {8322, "Number 1-Red", "Number 1, Red", -1, -1, -1, ""},
    {8332, "Number 1-Green", "Number 1, Green", -1, -1, -1, ""},
    {8342, "Number 1-Blue", "Number 1, Blue", -1, -1, -1, ""},
    {8323, "Number 2-Red", "Number 2, Red", -1, -1, -1, ""},
    {8333, "Number 2-Green", "Number 2, Green", -1, -1, -1, ""},
    {8343, "Number 2-Blue", "Number 2, Blue", -1, -1, -1, ""},
    {8324, "Number 3-Red", "Number 3, Red", -1, -1, -1, ""},
    {8334, "Number 3-Green", "Number 3, Green", -1, -1, -1, ""},
    {8344, "Number 3-Blue", "Number 3, Blue", -1, -1, -1, ""},
    {8325, "Number 4-Red", "Number 4, Red", -1, -1, -1, ""},
    {8335, "Number 4-Green", "Number 4, Green", -1, -1, -1, ""},
    {8345, "Number 4-Blue", "Number 4, Blue", -1, -1, -1, ""},
    {8326, "Number 5-Red", "Number 5, Red", -1, -1, -1, ""},
    {8336, "Number 5-Green", "Number 5, Green", -1, -1, -1, ""},
    {8346, "Number 5-Blue", "Number 5, Blue", -1, -1, -1, ""},
    {8327, "Number 6-Red", "Number 6, Red", -1, -1, -1, ""},
    {8337, "Number 6-Green", "Number 6, Green", -1, -1, -1, ""},
    {8347, "Number 6-Blue", "Number 6, Blue", -1, -1, -1, ""},
    {8328, "Number 7-Red", "Number 7, Red", -1, -1, -1, ""},
    {8338, "Number 7-Green", "Number 7, Green", -1, -1, -1, ""},
    {8348, "Number 7-Blue", "Number 7, Blue", -1, -1, -1, ""},
    {8329, "Number 8-Red", "Number 8, Red", -1, -1, -1, ""},
    {8339, "Number 8-Green", "Number 8, Green", -1, -1, -1, ""},
    {8349, "Number 8-Blue", "Number 8, Blue", -1, -1, -1, ""},
    {8330, "Number 9-Red", "Number 9, Red", -1, -1, -1, ""},
    {8340, "Number 9-Green", "Number 9, Green", -1, -1, -1, ""},
    {8350, "Number 9-Blue", "Number 9, Blue", -1, -1, -1, ""},
    {16384, "Airport", "", -1, -1, -1, ""},
    {16385, "__16385", "", -1, -1, -1, ""},
    {16386, "__16386", "", -1, -1, -1, ""},
    {16387, "__16387", "", -1, -1, -1, ""},
    {16388, "Heliport", "", -1, -1, -1, ""},
    {16389, "Private Field", "", -1, -1, -1, ""},
    {16390, "Soft Field", "", -1, -1, -1, ""},
    {16391, "Tall Tower", "", -1, -1, -1, ""},
    {16392, "Short Tower", "", -1, -1, -1, ""},
    {16393, "Glider Area", "", -1, -1, -1, ""},
    {16394, "Ultralight Area", "", -1, -1, -1, ""},
    {16395, "Parachute Area", "", -1, -1, -1, ""},
    {16396, "__16396", "", -1, -1, -1, ""},
    {16397, "__16397", "", -1, -1, -1, ""},
    {16398, "__16398", "", -1, -1, -1, ""},
    {16399, "__16399", "", -1, -1, -1, ""},
    {16400, "__16400", "", -1, -1, -1, ""},
    {16401, "__16401", "", -1, -1, -1, ""},
    {16402, "Seaplane Base", "", -1, -1, -1, ""},
    {-1, "ramp", "", -1, -1, -1, ""},
    {-1, "tree", "", -1, -1, -1, ""},
    {-1, "factory", "", -1, -1, -1, ""},
    {-1, "diving", "", -1, -1, -1, ""},
    {-1, "binoculars", "", -1, -1, -1, ""},
}};

bool sameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
  return true;
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

std::span<const TGarminIcon> TGarminIcons::all() { return kIcons; }

const TGarminIcon* TGarminIcons::byNumber(std::int32_t number) {
  if (number < 0) return nullptr;
  for (const auto& icon : kIcons)
    if (icon.number == number) return &icon;
  return nullptr;
}

const TGarminIcon* TGarminIcons::bySecondNumber(std::int32_t number) {
  if (number < 0) return nullptr;
  for (const auto& icon : kIcons)
    if (icon.secondNumber == number) return &icon;
  return nullptr;
}

const TGarminIcon* TGarminIcons::byName(std::string_view name) {
  name = trimmed(name);
  if (name.empty()) return nullptr;
  for (const auto& icon : kIcons)
    if (sameName(icon.name, name) || (!icon.secondName.empty() && sameName(icon.secondName, name))) return &icon;
  return nullptr;
}

std::int32_t TGarminIcons::numberForSymbol(std::string_view symbol) {
  if (const TGarminIcon* icon = byName(symbol); icon && icon->number >= 0) return icon->number;
  symbol = trimmed(symbol);
  std::int32_t number = -1;
  const auto [end, error] = std::from_chars(symbol.data(), symbol.data() + symbol.size(), number);
  if (error == std::errc() && end == symbol.data() + symbol.size() && number >= 0 && number <= 0xFFFF) return number;
  return kDefaultNumber;
}

std::string TGarminIcons::symbolForNumber(std::int32_t number) {
  if (const TGarminIcon* icon = byNumber(number)) return std::string(icon->name);
  return std::to_string(number);
}

}  // namespace pixtrail
