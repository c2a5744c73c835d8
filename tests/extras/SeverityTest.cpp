// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "support/Test.h"

#include <Korvel/Extras/Severity.h>

using namespace Korvel::Extras;

TEST(Severity, NamesAreReadInAnyCaseAndByTheirAliases) {
    const std::vector<std::pair<std::string_view, std::optional<Severity>>> cases = {
        {"trace", Severity::Trace},       {"Debug", Severity::Debug},
        {"INFO", Severity::Info},         {"Information", Severity::Info},
        {"WARN", Severity::Warning},      {"warning", Severity::Warning},
        {"err", Severity::Error},         {"Error", Severity::Error},
        {"crit", Severity::Critical},     {"fatal", Severity::Critical},
        {"critical", Severity::Critical}, {"", std::nullopt},
        {"warnin", std::nullopt},         {"warning ", std::nullopt},
    };
    for (const auto& [name, severity] : cases) EXPECT_EQ(parseSeverity(name), severity) << name;
    EXPECT_EQ(toMessage(Severity::Warning).getString(), "warning");
}

TEST(Severity, PredicateAcceptsWhatItCannotJudge) {
    const auto isAccepted = severityAtLeast(Severity::Warning);
    EXPECT_TRUE(isAccepted({{"severity", "warning"}, {"message", "M"}}));
    EXPECT_TRUE(isAccepted({{"severity", "CRITICAL"}, {"message", "M"}}));
    EXPECT_FALSE(isAccepted({{"severity", "info"}, {"message", "M"}}));
    EXPECT_TRUE(isAccepted(Message()));
    EXPECT_TRUE(isAccepted(1));
    EXPECT_TRUE(isAccepted({{"message", "M"}, {"severity", 3}}));
    EXPECT_TRUE(isAccepted({{"message", "M"}, {"severity", L"\xD800x"}}));
}
