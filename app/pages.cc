#include "app/pages.h"

namespace orvel {

const std::string_view blankPage = "<body style='background:#07090c;margin:0'></body>";

std::string errorPage(std::string_view message) {
  std::string page =
      "<body style='background:#07090c;color:#c3ccd5;font:15px -apple-system,Helvetica;"
      "padding:48px;line-height:1.5'><div style='max-width:560px'>"
      "<b style='color:#eef2f5;font-size:17px'>Orvel OS</b><p>";
  page += message;
  page += "</p></div></body>";
  return page;
}

}  // namespace orvel
