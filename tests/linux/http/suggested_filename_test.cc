// The name that an answer suggests for its file.

#include "platform/linux/http/suggested_filename.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvel {
namespace {

const Url address = *Url::parse("http://os.test/api/bestand/12");

std::optional<std::string> named(const std::string &disposition) {
  return suggestedFilename({.contentDisposition = disposition}, address);
}

TEST(SuggestedFilename, IsThatOfTheContentDisposition) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"attachment; filename=rapport.pdf", "rapport.pdf"},
      {"attachment; filename=\"rapport.pdf\"", "rapport.pdf"},
      {"inline; filename=\"rapport.pdf\"", "rapport.pdf"},
      {"ATTACHMENT;FILENAME=rapport.pdf", "rapport.pdf"},
      {"attachment ; filename = \"rapport.pdf\" ; size=3", "rapport.pdf"},
      {"attachment; filename=\"a/b.csv\"", "a/b.csv"},
      {"attachment; filename=\"../../x.csv\"", "../../x.csv"},
      {R"(attachment; filename="a\"b\\c.csv")", "a\"b\\c.csv"},
      {"attachment; filename=\"a; filename=b.csv\"", "a; filename=b.csv"},
      {"attachment; filename=jaar verslag.pdf", "jaar verslag.pdf"},
      {"attachment; filename=\"überzicht €.xlsx\"", "überzicht €.xlsx"},
      {"attachment; filename=\"caf\xe9.txt\"", "café.txt"},
      {"attachment; filename*=UTF-8''%e2%82%ac%20rates.csv", "€ rates.csv"},
      {"attachment; filename*=utf-8'nl'a%2Fb.csv", "a/b.csv"},
      {"attachment; filename*=ISO-8859-1''caf%e9.txt", "café.txt"},
      {"attachment; filename=\"e.csv\"; filename*=UTF-8''%e2%82%ac.csv", "€.csv"},
      {"attachment; filename*=UTF-8''%e2%82%ac.csv; filename=\"e.csv\"", "€.csv"},
      // What is no good is as if it were not there.
      {"attachment; filename*=UTF-8''%zz.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename*=UTF-8''a%00b.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename*=UTF-8''caf%C3.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename*\f=UTF-8''caf%C3.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename*\r=UTF-8''caf%C3.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename*=KLINGON''x.csv; filename=goed.csv", "goed.csv"},
      {"attachment; filename=", "12"},
      {"attachment; filename=\"\"", "12"},
      {"attachment; filename", "12"},
      {"attachment", "12"},
      {"", "12"},
      {";;;", "12"},
      {"attachment; filename=\"open", "open"},
      {"attachment; filename=een.csv; filename=twee.csv", "een.csv"},
      {"attachment; naam=x.csv", "12"},
      {"attachment; filename=\"..\"", ".."},
  };
  for (const auto &[disposition, name] : rows) EXPECT_EQ(named(disposition), name) << disposition;
}

TEST(SuggestedFilename, IsElseTheLastComponentOfThePath) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> rows{
      {"http://os.test/map/lijst.csv", "lijst.csv"},
      {"http://os.test/map/lijst.csv?x=/y.txt#/z", "lijst.csv"},
      {"http://os.test/map/", "map"},
      {"http://os.test/een%20lijst%20%C3%A9.csv", "een lijst é.csv"},
      {"http://os.test/", "os.test"},
      {"http://os.test", "os.test"},
      {"http://127.0.0.1:4767/?x=/y", "127.0.0.1"},
      {"http://[::1]/", "::1"},
  };
  for (const auto &[url, name] : rows) {
    EXPECT_EQ(suggestedFilename({}, *Url::parse(url)), name) << url;
  }
}

TEST(SuggestedFilename, GetsTheExtensionOfItsMediaTypeWhenItHasNone) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows{
      {"rapport", "application/pdf", "rapport.pdf"},
      {"rapport", "text/plain; charset=utf-8", "rapport.txt"},
      {"rapport", "Text/HTML", "rapport.html"},
      {"rapport", "text/csv", "rapport.csv"},
      {"rapport", "image/jpeg", "rapport.jpg"},
      {"rapport", "application/json", "rapport.json"},
      {"rapport.", "application/pdf", "rapport..pdf"},
      {".profiel", "text/plain", ".profiel.txt"},
      {"rapport.dat", "application/pdf", "rapport.dat"},
      {"Report v1.2 draft", "application/pdf", "Report v1.2 draft.pdf"},
      {"Report v1.2\u200e", "application/pdf", "Report v1.2\u200e.pdf"},
      {"Report v1.2\u00a0draft", "application/pdf", "Report v1.2\u00a0draft"},
      {"rapport", "application/octet-stream", "rapport"},
      {"rapport", "application/x-bestaat-niet", "rapport"},
      {"rapport", "", "rapport"},
      {"rapport", "pdf", "rapport"},
      {"rapport", "../../etc/passwd", "rapport"},
      {"rapport", "text/../plain", "rapport"},
  };
  for (const auto &[name, type, whole] : rows) {
    EXPECT_EQ(suggestedFilename({.contentDisposition = "attachment; filename=\"" + name + "\"",
                                 .mediaType = type},
                                address),
              whole)
        << name << " as " << type;
  }
  EXPECT_EQ(suggestedFilename({.mediaType = "application/pdf"}, address), "12.pdf");
  EXPECT_EQ(suggestedFilename({.mediaType = "application/pdf"}, *Url::parse("http://os.test/")),
            "os.test.pdf");
}

}  // namespace
}  // namespace orvel
