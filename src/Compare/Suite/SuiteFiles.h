// What a suite writes for CI and for people.
#pragma once

#include <string>
#include <vector>

#include "Compare/Suite/Suite.h"

namespace Compare {

/// How many captures there are, and what came of them.
struct SuiteCounts {
    std::size_t all = 0;
    std::size_t different = 0;
    std::size_t broken = 0;
    /// Of all captures, one after the other.
    double seconds = 0;

    explicit SuiteCounts(const std::vector<SuiteCase>& cases);
    /// "2 of 20 captures differ", "1 could not be compared".
    [[nodiscard]] std::string Text() const;
};

/// XML as CI systems take it from JUnit: a test case for each capture, failures for those that differ, errors for those
/// that could not be compared.
[[nodiscard]] std::string ToJUnit(const SuiteRequest& request, const std::vector<SuiteCase>& cases);
/// A page that needs nothing else: the failures with their pictures, then all captures.
[[nodiscard]] std::string ToPage(const SuiteRequest& request, const std::vector<SuiteCase>& cases);

} // namespace Compare
