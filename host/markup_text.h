// Text as a part of HTML or XML.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// Appends a text, with entities for the four signs that mean something in an element's text or in a
// quoted attribute. What else the page or its reader could take amiss is the caller's concern.
inline void AppendMarkup(std::string_view text, std::string& out) {
  for (const char sign : text) {
    switch (sign) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += sign;
    }
  }
}

}  // namespace hivequarry
