// What the engine writes of JSON, as JSON has it.
#pragma once

#include <string>
#include <string_view>

namespace vrn::sqltool {

// The engine writes NaN and Infinity, for which JSON has no numbers: they become null. Takes a text
// in pieces of any size.
class JsonNulls {
  public:
    // Appends what `piece` becomes to `out`.
    void pass(std::string_view piece, std::string *out);

  private:
    bool is_in_text_ = false;
    bool is_escaped_ = false;
    bool is_in_word_ = false;   // that is left out
    bool holds_minus_ = false;  // until what it belongs to comes
};

}  // namespace vrn::sqltool
