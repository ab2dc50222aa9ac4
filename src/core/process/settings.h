// What the configuration file says. Written once while the library loads, read-only afterwards.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/named_mutex.h"
#include "qmlib/xml_database.h"

namespace qmio {

enum class TraceSwitch { options, create, open, write, audio, read, seek, close, fifo, decoder, count };

struct Settings {
    std::array<int32_t, static_cast<std::size_t>(TraceSwitch::count)> trace{};  // 0: off
    int32_t scale_algorithm = 1;   // as configured; what the values below 1 mean is the scaler's business
    int32_t core_count = 0;        // 0: let the codecs decide
    uint32_t code_page = 65001;    // of names handed to the open and create cores
    int32_t frame_cache = 256;     // MiB that all handles may keep of pictures; below 1: none is kept
    int32_t log_level = 16;        // FFmpeg messages above it are dropped
    int32_t log_to_file = 1;       // 0: messages and traces go to the console alone
    int32_t ffmpeg_log = 1;        // 0: FFmpeg's log callback and level stay as they are found
    int32_t nested_open = 0;       // 0: bytes that come from us may not make FFmpeg open other sources
    int32_t max_pixels = 1 << 28;  // of a picture that is decoded
    int32_t max_streams = 256;     // of a source
    std::unique_ptr<platform::NamedMutex> codec_mutex;  // null: opening runs unguarded
    std::unique_ptr<qmlib::XmlDatabase> database;       // null: no readable configuration file
};

// The settings in force; the defaults before the library was attached and after it was detached.
const Settings& settings();

// Where the configuration of the library file at `library_path` lies.
std::string configuration_path(const std::string& library_path);

// The name of the mutex that every process shares which loads the library from the same place.
std::string codec_mutex_name(const std::string& configuration_path);

// Takes over the values of the keys that `database` has: trace switches, //scale_alg, //num_cores, //frame_cache,
// //encoding, //log, //log_to_file, //ffmpeg_log, //nested_open, //max_pixels, //max_streams.
// A key that is missing or empty leaves its setting as it is.
void apply_configuration(const qmlib::XmlDatabase& database, Settings& settings);

}  // namespace qmio
