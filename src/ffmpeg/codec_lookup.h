// Finding codecs by id, past the ones that the configuration vetoes. Lookups by name stay FFmpeg's own and see all.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The first registered codec of this id that is not vetoed, an experimental one only when there is no other; null when
// there is none. Any thread, once start-up is done.
const AVCodec* find_decoder(AVCodecID id);
const AVCodec* find_encoder(AVCodecID id);

// True for a codec that lookups by id pass over.
bool is_vetoed(const AVCodec* codec);

// Takes the codec of this name out of lookups by id. A name that FFmpeg does not know is ignored. Start-up only.
void veto_decoder(const char* name);
void veto_encoder(const char* name);

// Forgets all vetoes. Unloading only.
void clear_vetoes();

}  // namespace qmio::ffmpeg
