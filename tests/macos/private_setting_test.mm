#import "platform/macos/webkit/private_setting.h"

#include <gtest/gtest.h>

@interface PublicSetter : NSObject
@property(nonatomic) BOOL drawsBackground;
@end
@implementation PublicSetter
@end

@interface PrivateSetter : NSObject
@property(nonatomic, setter=_setDrawsBackground:) BOOL drawsBackground;
@end
@implementation PrivateSetter
@end

namespace orvel {
namespace {

TEST(PrivateSetting, PublicOrPrivateSetterIsCalled) {
  PublicSetter *withPublic = [[PublicSetter alloc] init];
  PrivateSetter *withPrivate = [[PrivateSetter alloc] init];
  for (const bool value : {true, false}) {
    setPrivateSetting(withPublic, @"drawsBackground", value);
    setPrivateSetting(withPrivate, @"drawsBackground", value);
    EXPECT_EQ(withPublic.drawsBackground, value);
    EXPECT_EQ(withPrivate.drawsBackground, value);
  }
}

TEST(PrivateSetting, KeyWithoutSetterRaisesNoException) {
  NSObject *object = [[NSObject alloc] init];
  EXPECT_ANY_THROW([object setValue:@YES forKey:@"drawsBackground"]);
  EXPECT_NO_THROW(setPrivateSetting(object, @"drawsBackground", true));
}

}  // namespace
}  // namespace orvel
