// What processes leave behind that end without closing their named mutexes and mappings.
#pragma once

namespace qmio::platform {

// Removes the mutexes and mappings that nobody holds any more, of whatever name, where the system does not do it itself.
// Waits for nobody and needs nothing that is forbidden while a library is being loaded.
void remove_leftovers() noexcept;

}  // namespace qmio::platform
