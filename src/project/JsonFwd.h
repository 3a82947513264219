#pragma once

// Enough to declare a record's JSON codec in its header without pulling in the codec machinery.

namespace orvane {
class JsonValue;
class JsonIn;
} // namespace orvane
