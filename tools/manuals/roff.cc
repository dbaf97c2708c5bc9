#include "manuals/roff.h"

namespace vrn::manuals {

std::string roff_text(std::string_view text) {
    std::string roff;
    for (const char letter : text) {
        const bool begins_line = roff.empty() || roff.back() == '\n';
        if (begins_line && (letter == '.' || letter == '\'')) roff += "\\&";
        switch (letter) {
            case '\\':
                roff += "\\e";
                break;
            case '-':
                roff += "\\-";
                break;
            // By themselves these become typographic ones.
            case '\'':
                roff += "\\(aq";
                break;
            case '`':
                roff += "\\(ga";
                break;
            case '^':
                roff += "\\(ha";
                break;
            case '~':
                roff += "\\(ti";
                break;
            default:
                roff += letter;
        }
    }
    return roff;
}

}  // namespace vrn::manuals
