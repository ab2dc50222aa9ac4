// Decoding video packets and delivering pictures.
#pragma once

#include "core/media_handle.h"
#include "qmio.h"

namespace qmio::read {

// What decoding a packet came to. The positive ones are pictures: bit 0 delivered, bit 1 top field, bit 2 bottom field.
enum DecodeResult {
    kProgressivePicture = QMIO_PICTURE_PROGRESSIVE,
    kTopFieldFirst = QMIO_PICTURE_TOP_FIELD_FIRST,
    kBottomFieldFirst = QMIO_PICTURE_BOTTOM_FIELD_FIRST,
    kSingleFrameHeld = QMIO_PICTURE_HELD,
    kNoPicture = QMIO_NO_PICTURE,
    kNothingToWorkOn = QMIO_NOTHING_TO_DECODE,
    kNoVideoStream = QMIO_NO_VIDEO_STREAM,
    kOtherStream = QMIO_OTHER_STREAM,
    kDecoderError = QMIO_DECODER_ERROR
};

// Decodes `packet` (null: drains the decoder) and converts the picture into `picture`; one without data is decoded
// but not converted. A packet's data and size advance as they are used.
int decode_packet(MediaHandle& handle, imio_picture* picture, AVPacket* packet);

// Delivers a picture that the decoder kept from earlier packets; kNoPicture when there is none.
int deliver_kept(MediaHandle& handle, imio_picture* picture);

// Converts the picture held in pFrame; rows written, 0 on failure, -1 without handle or codec, 1 for a picture without
// data, which is left alone.
int convert_held_picture(MediaHandle& handle, imio_picture* picture);

// A record over a host's plain buffer of width x height x 4 bytes.
imio_picture plain_buffer(const MediaHandle& handle, uint8_t* buffer);

}  // namespace qmio::read
