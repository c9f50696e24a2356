#pragma once

#include <string>

#include <gtest/gtest.h>

#include "platform/jet/format/Format.h"

namespace marrowkit::test {

/// A fixture whose tests run once on a Jet 3 and once on a Jet 4 database: GetParam() is the format.
using BothFormats = ::testing::TestWithParam<jet::JetVersion>;

inline std::string FormatName(const ::testing::TestParamInfo<jet::JetVersion>& tested) {
    return tested.param == jet::JetVersion::Jet3 ? "Jet3" : "Jet4";
}

}  // namespace marrowkit::test

/// At the end of the tests of a suite.
#define MARROWKIT_TEST_BOTH_FORMATS(suite)                                                         \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Formats, suite,                                                                            \
        ::testing::Values(::marrowkit::jet::JetVersion::Jet3, ::marrowkit::jet::JetVersion::Jet4), \
        ::marrowkit::test::FormatName)
