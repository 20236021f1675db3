#include "fetch/fetch_uri.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

TEST(FetchUri, SurvivesItsText) {
  const std::optional<Origin> origins[] = {std::nullopt,
                                           Origin{SourceScheme::kHttp, Reach::kPublic},
                                           Origin{SourceScheme::kHttp, Reach::kLocal},
                                           Origin{SourceScheme::kHttps, Reach::kPublic},
                                           Origin{SourceScheme::kHttps, Reach::kLocal},
                                           Origin{SourceScheme::kFile, Reach::kLocal}};
  for (const auto& origin : origins) {
    for (const auto kind : {FetchKind::kStream, FetchKind::kPlaylist, FetchKind::kMedia,
                            FetchKind::kMap, FetchKind::kKey}) {
      const FetchUri uri{12, kind, origin, "http://h:80/a:b?c:d"};
      const auto read = parseFetchUri(uri.text());
      ASSERT_TRUE(read) << uri.text();
      EXPECT_EQ(read->player, 12U);
      EXPECT_EQ(read->kind, kind);
      EXPECT_EQ(read->origin, origin);
      EXPECT_EQ(read->address, uri.address);
    }
  }
}

TEST(FetchUri, KnowsFiles) {
  EXPECT_TRUE(parseFetchUri("nimbo:1:media:file:/a/b:c.ts")->isFile());
  EXPECT_FALSE(parseFetchUri("nimbo:1:media:http-local:http://h/")->isFile());
}

TEST(FetchUri, RefusesEverythingElse) {
  for (const char* text : {"", "http://h/", "nimbo:", "nimbo:1", "nimbo:x:media:file:/a",
                           "nimbo::media:file:/a", "nimbo:1:other:file:/a", "nimbo:1:media:x:/a",
                           "nimbo:1:media:file:", "nimbo:1x:media:file:/a"}) {
    EXPECT_FALSE(parseFetchUri(text)) << text;
  }
}

}  // namespace
}  // namespace NimboEngine
