#pragma once
// The waypoint symbol table: each row ties a Garmin symbol number to its name, an alternative
// spelling used by other programs, the program's own icon, the numbers of two other device
// families and the letter code of letter-coded icon fields. Rows keep the device's order,
// duplicates included (some numbers appear under two names).

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace pixtrail {

struct TGarminIcon {
  std::int32_t number;      // Garmin symbol number; -1 where the row has none
  std::string_view name;
  std::string_view secondName;  // empty when none
  std::int32_t ownIcon;     // index in the program's own icon set; -1 for none
  std::int32_t secondNumber;  // -1 for none
  std::int32_t thirdNumber;   // -1 for none
  std::string_view letterCode;  // empty when none
};

class TGarminIcons {
 public:
  static constexpr std::size_t kCount = 254;
  // "Waypoint" stands in for a symbol the table does not know.
  static constexpr std::int32_t kDefaultNumber = 18;

  static std::span<const TGarminIcon> all();
  // First row with this number.
  static const TGarminIcon* byNumber(std::int32_t number);
  // First row with this second number: the small symbol set of the older record types.
  static const TGarminIcon* bySecondNumber(std::int32_t number);
  // First row whose name or second name matches, ignoring case and surrounding blanks.
  static const TGarminIcon* byName(std::string_view name);
  // The number to send for a symbol text: a known name, else a number written as text, else the
  // default.
  static std::int32_t numberForSymbol(std::string_view symbol);
  // The name to keep for a received number; numbers outside the table keep their digits.
  static std::string symbolForNumber(std::int32_t number);
};

}  // namespace pixtrail
