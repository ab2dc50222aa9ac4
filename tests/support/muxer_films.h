// Films that a muxer of FFmpeg takes: which codecs, found by trying.
#pragma once

#include <string>
#include <vector>

#include "support/case_process.h"
#include "support/plain_file.h"

namespace qmio::test {

// All muxers, those of devices left out.
std::vector<const AVOutputFormat*> file_muxers();

// The first of the names that FFmpeg knows the muxer by.
std::string name_of(const AVOutputFormat& muxer);

// Options of a film with a picture and a sound track that creating_host made with this muxer at `path`; of a picture
// or a sound track alone where it takes no more; empty where it takes nothing.
std::string film_for(const AVOutputFormat& muxer, const std::string& path, CaseProcess& creating_host);

inline bool has_two_streams(const std::string& options) {
    return options.find("vcodec") != std::string::npos && options.find("acodec") != std::string::npos;
}

}  // namespace qmio::test
