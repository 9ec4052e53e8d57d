#include "platform/linux/http/suggested_filename.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvel {
namespace {

const Url requestUrl = *Url::parse("http://os.test/api/file/12");

TEST(SuggestedFilename, ContentDispositionNamesFile) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"attachment; filename=report.pdf", "report.pdf"},
      {"attachment; filename=\"report.pdf\"", "report.pdf"},
      {"inline; filename=\"report.pdf\"", "report.pdf"},
      {"ATTACHMENT;FILENAME=report.pdf", "report.pdf"},
      {"attachment ; filename = \"report.pdf\" ; size=3", "report.pdf"},
      {"attachment; filename=\"a/b.csv\"", "a/b.csv"},
      {"attachment; filename=\"../../x.csv\"", "../../x.csv"},
      {"attachment; filename=\"..\"", ".."},
      {R"(attachment; filename="a\"b\\c.csv")", "a\"b\\c.csv"},
      {"attachment; filename=\"a; filename=b.csv\"", "a; filename=b.csv"},
      {"attachment; filename=annual report.pdf", "annual report.pdf"},
      {"attachment; filename=\"open", "open"},
      {"attachment; filename=one.csv; filename=two.csv", "one.csv"},
      {"attachment; filename=\"übersicht €.xlsx\"", "übersicht €.xlsx"},
      {"attachment; filename=\"caf\xe9.txt\"", "café.txt"},
      {"attachment; filename*=UTF-8''%e2%82%ac%20rates.csv", "€ rates.csv"},
      {"attachment; filename*=utf-8'nl'a%2Fb.csv", "a/b.csv"},
      {"attachment; filename*=ISO-8859-1''caf%e9.txt", "café.txt"},
      {"attachment; filename=\"e.csv\"; filename*=UTF-8''%e2%82%ac.csv", "€.csv"},
      {"attachment; filename*=UTF-8''%e2%82%ac.csv; filename=\"e.csv\"", "€.csv"},
      // Invalid parameters are ignored, also with white space before the "=", which libsoup
      // accepts.
      {"attachment; filename*=UTF-8''%zz.csv; filename=good.csv", "good.csv"},
      {"attachment; filename*=UTF-8''a%00b.csv; filename=good.csv", "good.csv"},
      {"attachment; filename*=UTF-8''caf%C3.csv; filename=good.csv", "good.csv"},
      {"attachment; filename*\f=UTF-8''caf%C3.csv; filename=good.csv", "good.csv"},
      {"attachment; filename*\r=UTF-8''caf%C3.csv; filename=good.csv", "good.csv"},
      {"attachment; filename*=KLINGON''x.csv; filename=good.csv", "good.csv"},
      // Without a name, the last path component of `requestUrl` is the name.
      {"attachment; filename=", "12"},
      {"attachment; filename=\"\"", "12"},
      {"attachment; filename", "12"},
      {"attachment", "12"},
      {"", "12"},
      {";;;", "12"},
      {"attachment; name=x.csv", "12"},
  };
  for (const auto &[disposition, name] : rows) {
    EXPECT_EQ(suggestedFilename({.contentDisposition = disposition}, requestUrl), name)
        << disposition;
  }
}

TEST(SuggestedFilename, LastPathComponentOrHostIsFallback) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"http://os.test/folder/list.csv", "list.csv"},
      {"http://os.test/folder/list.csv?x=/y.txt#/z", "list.csv"},
      {"http://os.test/folder/", "folder"},
      {"http://os.test/a%20list%20%C3%A9.csv", "a list é.csv"},
      {"http://os.test/", "os.test"},
      {"http://os.test", "os.test"},
      {"http://127.0.0.1:4767/?x=/y", "127.0.0.1"},
      {"http://[::1]/", "::1"},
  };
  for (const auto &[url, name] : rows) {
    EXPECT_EQ(suggestedFilename({}, *Url::parse(url)), name) << url;
  }
}

TEST(SuggestedFilename, NameWithoutExtensionGetsExtensionOfMediaType) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows{
      {"report", "application/pdf", "report.pdf"},
      {"report.", "application/pdf", "report..pdf"},
      {".profile", "text/plain", ".profile.txt"},
      {"report.dat", "application/pdf", "report.dat"},
      // As in Foundation, no extension contains a space or a bidirectional mark. It may contain a
      // no-break space.
      {"Report v1.2 draft", "application/pdf", "Report v1.2 draft.pdf"},
      {"Report v1.2\u200e", "application/pdf", "Report v1.2\u200e.pdf"},
      {"Report v1.2\u00a0draft", "application/pdf", "Report v1.2\u00a0draft"},
      {"report", "application/octet-stream", "report"},
      {"report", "", "report"},
  };
  for (const auto &[name, type, whole] : rows) {
    EXPECT_EQ(suggestedFilename({.contentDisposition = "attachment; filename=\"" + name + "\"",
                                 .mediaType = type},
                                requestUrl),
              whole)
        << name << " as " << type;
  }
  EXPECT_EQ(suggestedFilename({.mediaType = "application/pdf"}, requestUrl), "12.pdf");
  EXPECT_EQ(suggestedFilename({.mediaType = "application/pdf"}, *Url::parse("http://os.test/")),
            "os.test.pdf");
}

}  // namespace
}  // namespace orvel
