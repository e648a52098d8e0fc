// A session with sound and a microphone that the cases of a suite share. It is for suites that end,
// stop and freeze no server. What a case has started ends with the case, and a case fails that
// leaves the servers otherwise than it found them. A session in which a case has failed is given
// up, so that the next one begins with a new one. The test's thread.
#pragma once

#include "support/PrivateSession.h"

#include <gtest/gtest.h>

namespace velmoran::support {

class SharedSound : public ::testing::Test {
public:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    ~SharedSound() override;
    SharedSound(const SharedSound&) = delete;
    SharedSound& operator=(const SharedSound&) = delete;

protected:
    SharedSound();

    PrivateSession& session;

private:
    const Environment environment_; ///< as it was before the case
};

/// The same for suites whose cases want a session each.
class OwnSound : public ::testing::Test {
protected:
    void SetUp() override;

    PrivateSession session;
};

} // namespace velmoran::support
