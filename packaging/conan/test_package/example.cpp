#include <Korvel/Extras.h>

int main() {
    const auto logging = Korvel::Extras::LoggingBuilder().console().start();
    return logging.logger().info("Packaged", {{"answer", 42}}) ? 0 : 1;
}
