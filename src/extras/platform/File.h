#pragma once

// What differs between the platforms.

namespace Korvel::Extras {}  // namespace Korvel::Extras
