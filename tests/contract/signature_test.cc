#include "base/signature.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "base/ascii.h"

namespace orvel {
namespace {

// Made with OpenSSL for these tests. The private key is deleted. The key is base64 of the
// uncompressed point, the signature base64 of DER. The message may be any text.
const std::string testPublicKey =
    "BMjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcTQ=";
const std::string testMessage = "orvel-os-update\n1.3\nlinux\n";
const std::string testSignature =
    "MEUCIQD6h33kwzb6B0boDRe6ChgLJcb7Bl1xecuoigOWtwR+"
    "vwIgX7CCr1qVaBVpekCSWUkJE2gOso2LzsrG236Dy0O6psE=";

struct InvalidInput {
  const char *description;
  std::string text;
};

TEST(Signature, ValidSignatureIsAccepted) {
  EXPECT_TRUE(verify(testPublicKey, testMessage, testSignature));
}

TEST(Signature, SignatureOfAnotherMessageIsRejected) {
  EXPECT_FALSE(verify(testPublicKey, "", testSignature));
  EXPECT_FALSE(verify(testPublicKey, testMessage + "\n", testSignature));
  EXPECT_FALSE(verify(testPublicKey, testMessage + '\0', testSignature));
}

TEST(Signature, SignatureWithOneChangedCharacterIsRejected) {
  for (std::size_t at = 0; at < testSignature.size(); ++at) {
    std::string changed = testSignature;
    changed[at] = changed[at] == 'A' ? 'B' : 'A';
    EXPECT_FALSE(verify(testPublicKey, testMessage, changed)) << "character " << at;
  }
}

TEST(Signature, MalformedSignatureIsRejected) {
  const InvalidInput signatures[] = {
      {"not base64", "no signature"},
      {"raw r and s without DER",
       "+od95MM2+gdG6A0XugoYCyXG+wZdcXnLqIoDlrcEfr9fsIKvWpVoFWl6QJJZSQkTaA6yjYvOysbbfoPLQ7qmwQ=="},
      {"base64 with a line break", testSignature + "\n"},
  };
  for (const auto &[description, text] : signatures) {
    EXPECT_FALSE(verify(testPublicKey, testMessage, text)) << description;
  }
}

TEST(Signature, WrongOrMalformedPublicKeyIsRejected) {
  const InvalidInput keys[] = {
      {"empty", ""},
      {"not base64", "no key"},
      {"point not on the curve",
       "BMjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcTU="},
      {"coordinates of zero",
       "BAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA="},
      {"point at infinity", "AA=="},
      {"compressed point", "Asjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEB"},
      {"hybrid point",
       "Bsjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcTQ="},
      {"truncated",
       "BMjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcQ=="},
      {"trailing byte",
       "BMjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcTQA"},
      {"base64 without padding", testPublicKey.substr(0, testPublicKey.size() - 1)},
      {"base64 with non-zero padding bits",
       "BMjjc8e5CV/o6IdQs9SRnUyE8B38M8HDvE4A3B7lrYEBAbBYYMjU95IgiTFOgYvwPeBiENF5g+2JOQ6RfVAgcTR="},
      {"base64 with a line break", testPublicKey + "\n"},
      {"another key of the curve",
       "BASq7HNjVybyE/uKnmTaO4Yy5BSVqUTQBFtSLrpyQPrVh9kxV5iqo6W6AXdXh87QXqr3tOCfyB1tGqVG6DZdUl0="},
  };
  for (const auto &[description, text] : keys) {
    EXPECT_FALSE(verify(text, testMessage, testSignature)) << description;
  }
}

TEST(Signature, KeyAndItsSignatureOnAnotherCurveAreRejected) {
  // The curve secp256k1, whose points have the size of those of P-256.
  EXPECT_FALSE(verify(
      "BLFGCju5pMunhKT+fgyBbq9UM1Kz8OaKjTLtbCBM9a+99+dAUQfrAZpOLErV07FMb9pEpGUpxZrw3vqsm86v+28=",
      testMessage,
      "MEQCIHBXS/"
      "xhLBpsnZ9iM4KzsRAvDtVKsbyYcSx7QUPllVJcAiBGPoQLUtLj7FphD7Bv9UMack3++yVAXDMp1VZqRA97FQ=="));
  // The curve P-384.
  EXPECT_FALSE(
      verify("BH1jFw2/qGwQx6WaTU5Ct6Wlkd882DuM0bTDwnCoWVhTCzdj5LBdDTA4hkEsEsyzICoqQRcD3moZcqNS"
             "CRoXK4rn1gVZsTVEHPSr7PsZo4R4krMIKozZnlDPIw4/HokfVw==",
             testMessage,
             "MGUCMQCXDae0NpHuj4xOP0EqJz82Dj1kJbg9MPRY4Lh5rQ9vquV4AJohbnIHujUDleJiCmMCMF96JLOB"
             "9rJuJ94zRe+TJqMwTyApE/3JBR7BWRZcCxieUVKTHRH/JDt+21oQjjlcww=="));
}

std::string decodeHexadecimal(std::string_view digits) {
  std::string bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
    bytes += static_cast<char>(hexDigitValue(digits[at]) * 16 + hexDigitValue(digits[at + 1]));
  }
  return bytes;
}

// The number, in the file of vectors, of a valid signature that Nettle, the library behind GnuTLS,
// rejects up to at least version 3.8: the verification adds a point to itself, for which Nettle's
// formula does not hold. No signer makes such a signature except on purpose.
constexpr std::string_view pointDuplicationVector = "427";

// The vectors of project Wycheproof include: r or s of zero, negative or not below the order of the
// curve, s in the upper half of the range, empty, truncated and extended signatures, BER that is
// not DER, edge cases of the arithmetic.
TEST(Signature, WycheproofVectorsHaveExpectedResult) {
  std::ifstream file(ORVELOS_CONTRACT_DATA "/ecdsa_p256_sha256.txt");
  std::string publicKey;
  int vectorCount = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream fields(line);
    std::string number, expectedResult, messageDigits, encodedSignature;
    fields >> number >> expectedResult >> messageDigits >> encodedSignature;
    // The line "key <public key>" stands before the vectors of that key. "-" is an empty field.
    if (number == "key") {
      publicKey = expectedResult;
      continue;
    }
    if (number == pointDuplicationVector) continue;
    const std::string messageBytes = messageDigits == "-" ? "" : decodeHexadecimal(messageDigits);
    const std::string signature = encodedSignature == "-" ? "" : encodedSignature;
    EXPECT_EQ(verify(publicKey, messageBytes, signature), expectedResult == "valid")
        << "vector " << number;
    ++vectorCount;
  }
  // All 484 vectors of the file except pointDuplicationVector.
  EXPECT_EQ(vectorCount, 483);
}

}  // namespace
}  // namespace orvel
