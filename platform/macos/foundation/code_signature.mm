#include "platform/macos/foundation/code_signature.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include "platform/macos/foundation/cf_pointer.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

/// Returns the code of this process on the disk, or null on failure.
CFPointer<SecStaticCodeRef> codeOfThisProcess() {
  SecCodeRef running = nullptr;
  if (SecCodeCopySelf(kSecCSDefaultFlags, &running) != errSecSuccess) return nullptr;
  const CFPointer<SecCodeRef> owner(running);
  SecStaticCodeRef code = nullptr;
  if (SecCodeCopyStaticCode(running, kSecCSDefaultFlags, &code) != errSecSuccess) return nullptr;
  return CFPointer<SecStaticCodeRef>(code);
}

/// Returns the code of a bundle, or null on failure.
CFPointer<SecStaticCodeRef> codeOfBundle(const std::string &path) {
  auto *url = (__bridge CFURLRef)fileUrl(path);
  SecStaticCodeRef code = nullptr;
  if (SecStaticCodeCreateWithPath(url, kSecCSDefaultFlags, &code) != errSecSuccess) return nullptr;
  return CFPointer<SecStaticCodeRef>(code);
}

/// Returns the requirement that Apple issued the certificate to the team, or null on failure.
/// The Team ID in a signature proves nothing by itself: anybody can write it there. Apple's
/// certificates have the Team ID as organizational unit (Technical Note TN3127).
CFPointer<SecRequirementRef> requirementOfTeam(const std::string &team) {
  NSString *text =
      [NSString stringWithFormat:@"anchor apple generic and certificate leaf[subject.OU] = \"%@\"",
                                 toCocoa(team)];
  SecRequirementRef requirement = nullptr;
  const OSStatus status =
      SecRequirementCreateWithString((__bridge CFStringRef)text, kSecCSDefaultFlags, &requirement);
  if (status != errSecSuccess) return nullptr;
  return CFPointer<SecRequirementRef>(requirement);
}

}  // namespace

std::optional<std::string> teamIdentifierOfThisProcess() {
  const auto code = codeOfThisProcess();
  if (!code) return std::nullopt;
  CFDictionaryRef copied = nullptr;
  if (SecCodeCopySigningInformation(code.get(), kSecCSSigningInformation, &copied) !=
      errSecSuccess) {
    return std::nullopt;
  }
  NSDictionary<NSString *, id> *information = CFBridgingRelease(copied);
  return textOf(information[(__bridge NSString *)kSecCodeInfoTeamIdentifier]);
}

bool hasValidSignatureOfTeam(const std::string &bundlePath, const std::string &team) {
  const auto code = codeOfBundle(bundlePath);
  const auto requirement = requirementOfTeam(team);
  if (!code || !requirement) return false;
  constexpr SecCSFlags everything =
      kSecCSCheckAllArchitectures | kSecCSCheckNestedCode | kSecCSStrictValidate;
  return SecStaticCodeCheckValidity(code.get(), everything, requirement.get()) == errSecSuccess;
}

}  // namespace orvel
