// JSON as a list of its leaves, read strictly.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace qmio::test {

// "container.tags.title", "tracks.0.codec": texts without their quotes, numbers and words as they are written, nothing for
// null; an empty object or list has itself as a leaf, "{}" or "[]". Throws std::runtime_error for what is no JSON, twice the
// same name in an object among it.
using JsonLeaves = std::map<std::string, std::optional<std::string>>;
JsonLeaves read_json(const std::string& text);

}  // namespace qmio::test
