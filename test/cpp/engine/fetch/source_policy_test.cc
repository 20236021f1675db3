#include "fetch/source_policy.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

constexpr Origin kPublicHttp{SourceScheme::kHttp, Reach::kPublic};
constexpr Origin kPublicHttps{SourceScheme::kHttps, Reach::kPublic};
constexpr Origin kLocalHttp{SourceScheme::kHttp, Reach::kLocal};
constexpr Origin kFile{SourceScheme::kFile, Reach::kLocal};

TEST(SourcePolicy, TheApplicationMayNameAnything) {
  const SourcePolicy policy({});
  for (const auto scheme : {SourceScheme::kHttp, SourceScheme::kHttps, SourceScheme::kFile}) {
    EXPECT_TRUE(policy.checkScheme(std::nullopt, scheme));
  }
  EXPECT_TRUE(policy.allowsReach(std::nullopt, Reach::kLocal));
  EXPECT_TRUE(policy.allowsReach(std::nullopt, Reach::kPublic));
}

TEST(SourcePolicy, ServersMayNameServersOnly) {
  const SourcePolicy policy({});
  EXPECT_TRUE(policy.checkScheme(kPublicHttp, SourceScheme::kHttp));
  EXPECT_TRUE(policy.checkScheme(kPublicHttp, SourceScheme::kHttps));
  EXPECT_TRUE(policy.checkScheme(kPublicHttps, SourceScheme::kHttps));
  for (const Origin& origin : {kPublicHttp, kPublicHttps, kLocalHttp}) {
    EXPECT_FALSE(policy.checkScheme(origin, SourceScheme::kFile));
  }
}

TEST(SourcePolicy, FilesMayNameFilesOnly) {
  const SourcePolicy policy({});
  EXPECT_TRUE(policy.checkScheme(kFile, SourceScheme::kFile));
  EXPECT_FALSE(policy.checkScheme(kFile, SourceScheme::kHttp));
  EXPECT_FALSE(policy.checkScheme(kFile, SourceScheme::kHttps));
}

TEST(SourcePolicy, EncryptionIsKeptUnlessASettingAllowsOtherwise) {
  EXPECT_FALSE(SourcePolicy({}).checkScheme(kPublicHttps, SourceScheme::kHttp));
  SourceSettings settings;
  settings.httpFromHttps = true;
  EXPECT_TRUE(SourcePolicy(settings).checkScheme(kPublicHttps, SourceScheme::kHttp));
  EXPECT_FALSE(SourcePolicy(settings).checkScheme(kPublicHttps, SourceScheme::kFile));
}

TEST(SourcePolicy, PublicServersDoNotReachLocalOnesUnlessASettingAllowsIt) {
  const SourcePolicy policy({});
  EXPECT_FALSE(policy.allowsReach(kPublicHttp, Reach::kLocal));
  EXPECT_TRUE(policy.allowsReach(kPublicHttp, Reach::kPublic));
  EXPECT_TRUE(policy.allowsReach(kLocalHttp, Reach::kLocal));
  EXPECT_TRUE(policy.allowsReach(kLocalHttp, Reach::kPublic));
  SourceSettings settings;
  settings.localFromPublic = true;
  EXPECT_TRUE(SourcePolicy(settings).allowsReach(kPublicHttp, Reach::kLocal));
}

}  // namespace
}  // namespace NimboEngine
