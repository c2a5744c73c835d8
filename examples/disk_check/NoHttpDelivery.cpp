#include "Arguments.h"
#include "Delivery.h"

namespace DiskCheck {

/// Replaces HttpDelivery.cpp in a build without libcurl.
std::unique_ptr<Delivery> makeHttpDelivery(const std::string&) {
    throw UsageError("This disk_check was built without libcurl and has no --upload.");
}

}  // namespace DiskCheck
