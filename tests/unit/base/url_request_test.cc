#include "base/url_request.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(UrlRequest, SetHeaderReplacesFieldsOfSameName) {
  UrlRequest request;
  request.setHeader("Cookie", "a=b");
  request.setHeader("X-ORVEL-App", "one");
  request.setHeader("x-orvel-app", "two");
  EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                 {"Cookie", "a=b"}, {"x-orvel-app", "two"}}));
  request.headers.emplace_back("X-Orvel-App", "three");
  request.headers.emplace_back("Range", "bytes=0-1");
  request.setHeader("X-ORVEL-App", "");
  EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                 {"Cookie", "a=b"}, {"X-ORVEL-App", ""}, {"Range", "bytes=0-1"}}));
}

TEST(UrlRequest, HeaderNameIsCaseInsensitive) {
  UrlRequest request;
  EXPECT_EQ(request.header("X-ORVEL-App"), std::nullopt);
  request.setHeader("X-ORVEL-App", "");
  EXPECT_EQ(request.header("x-orvel-APP"), "");
  EXPECT_EQ(request.header("X-ORVEL-Ap"), std::nullopt);
  EXPECT_EQ(request.header("X-ORVEL-Appl"), std::nullopt);
}

}  // namespace
}  // namespace orvel
