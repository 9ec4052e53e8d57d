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
  // createdBy adds the last argument, in which the function stores the new reference.
  const auto running = createdBy<CFPointer<SecCodeRef>>(SecCodeCopySelf, kSecCSDefaultFlags);
  if (!running) return nullptr;
  return createdBy<CFPointer<SecStaticCodeRef>>(SecCodeCopyStaticCode, running.get(),
                                                kSecCSDefaultFlags);
}

/// Returns the code of a bundle, or null on failure.
CFPointer<SecStaticCodeRef> codeOfBundle(const std::string &path) {
  NSURL *url = fileUrl(path);
  return createdBy<CFPointer<SecStaticCodeRef>>(SecStaticCodeCreateWithPath, (__bridge CFURLRef)url,
                                                kSecCSDefaultFlags);
}

/// Returns the requirement that Apple issued the certificate to the team, or null on failure.
/// The Team ID in a signature proves nothing by itself: anybody can write it there. Apple's
/// certificates have the Team ID as organizational unit (Technical Note TN3127).
CFPointer<SecRequirementRef> requirementOfTeam(const std::string &team) {
  NSString *text =
      [NSString stringWithFormat:@"anchor apple generic and certificate leaf[subject.OU] = \"%@\"",
                                 toCocoa(team)];
  return createdBy<CFPointer<SecRequirementRef>>(SecRequirementCreateWithString,
                                                 (__bridge CFStringRef)text, kSecCSDefaultFlags);
}

}  // namespace

std::optional<std::string> teamIdentifierOfThisProcess() {
  const auto code = codeOfThisProcess();
  if (!code) return std::nullopt;
  const auto information = createdBy<CFPointer<CFDictionaryRef>>(
      SecCodeCopySigningInformation, code.get(), kSecCSSigningInformation);
  auto *entries = (__bridge NSDictionary<NSString *, id> *)information.get();
  return textOf(entries[(__bridge NSString *)kSecCodeInfoTeamIdentifier]);
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
