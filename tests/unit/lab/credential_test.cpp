// Passwords as they are stored: the demo home's users must be able to log in.
#include "home/credential.h"

#include <gtest/gtest.h>

namespace {

TEST(Credential, IsTheBase64OfTheDigestUpToItsFirstZeroByte) {
    EXPECT_EQ(lab::credential_of("sesame"), "{SHA}CEo1Ae3vaEXy8eQZjsOiuBz1xrw=");
    EXPECT_EQ(lab::credential_of(""), "{SHA}2jmj7l5rSw0yVb/vlWAYkK/YBwk=");
    // The tenth byte of this digest is zero.
    EXPECT_EQ(lab::credential_of("lighthouse"), "{SHA}Dr5T/IIKVEeY");
}

}  // namespace
