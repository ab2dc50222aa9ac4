// The results that the header names for a call, for tests of input whose outcome nobody knows beforehand.
#pragma once

#include <qmio.h>

#include <algorithm>
#include <initializer_list>

namespace qmio::test {

inline bool is_one_of(std::initializer_list<int> results, int result) {
    return std::find(results.begin(), results.end(), result) != results.end();
}

// Of qmio_get_frame.
inline bool is_packet_result(int result) {
    return is_one_of({QMIO_PACKET_OTHER, QMIO_PACKET_VIDEO, QMIO_PACKET_AUDIO, -1}, result);
}

// Of qmio_read_frame on a handle.
inline bool is_reading_result(int result) {
    return is_one_of({QMIO_PICTURE_PROGRESSIVE, QMIO_PICTURE_TOP_FIELD_FIRST, QMIO_PICTURE_BOTTOM_FIELD_FIRST,
                      QMIO_PICTURE_HELD, QMIO_NO_PICTURE, QMIO_DECODER_ERROR},
                     result);
}

// Of the calls that decode one packet.
inline bool is_decoding_result(int result) {
    return is_reading_result(result) ||
           is_one_of({QMIO_NOTHING_TO_DECODE, QMIO_NO_VIDEO_STREAM, QMIO_OTHER_STREAM}, result);
}

// Of qmio_seek_frame and qmio_seek_frame_ex: the frame, which is 0 for a negative number, or the last published one
// before it; 0 and -1.
inline bool is_seeking_result(int frame, int result) {
    return result >= -1 && result <= std::max(frame, 0);
}

// Of qmio_seek_frame_ex_old, which takes negative numbers as they are.
inline bool is_positioning_result(int frame, int result) {
    return result == frame || is_seeking_result(frame, result);
}

// Of the calls that write pictures: 0 or a negative error.
inline bool is_writing_result(int result) {
    return result <= 0;
}

}  // namespace qmio::test
