#pragma once

// Enough to declare a record's JSON codec in its header without pulling in the codec machinery.
class QJsonValue;

namespace orvane {
class JsonIn;
} // namespace orvane
