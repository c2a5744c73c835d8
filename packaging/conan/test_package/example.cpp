// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include <Korvel/Extras.h>

int main() {
    const auto logging = Korvel::Extras::LoggingBuilder().console().start();
    return logging.logger().info("Packaged", {{"answer", 42}}) ? 0 : 1;
}
