// The frame-position index: byte positions of a file's frames, shared by its writer with every reader of the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/shared_mapping.h"

namespace qmio::frame_index {

// The view is an array of 64-bit integers: entry 0 the highest entry number written so far, entry k+1 the byte
// position of frame k.
inline constexpr std::size_t kBytes = 17280000;

// The name under which a file's index is published: the file's name with forward slashes.
std::string mapping_name(const std::string& file_name);

// Attaches the index of a file that is being written; null when none is published.
std::unique_ptr<platform::SharedMapping> attach(const std::string& file_name);

// Publishes an empty index for a file that is about to be written; null when it cannot be had.
std::unique_ptr<platform::SharedMapping> publish(const std::string& file_name);

// Enters the byte position at which the packet of a frame begins. Frames that the index has no room for are left out.
void enter(const platform::SharedMapping& index, int64_t frame, int64_t position);

// How many frames the index holds; 0 without an index. Never more than its view has room for.
int64_t frame_total(const platform::SharedMapping* index);

// Byte position of a frame below frame_total().
int64_t position(const platform::SharedMapping& index, int64_t frame);

}  // namespace qmio::frame_index
