/*
 * qmio - reading and writing audio and video through one plain C interface.
 *
 * Life of a handle
 *   An open function returns a MediaHandle, or null. It is passed first to everything that works on the source, and
 *   qmio_close ends it; nothing else frees it, and it is invalid afterwards. Closing null does nothing, so a failed
 *   open needs no special care. Unless a function says otherwise, a null handle makes it return its failure value and
 *   nothing else; a handle that was closed, or that is no handle, must not be passed at all.
 *
 * Threads
 *   Different handles may be used on different threads at once. One handle is used by one thread at a time; the one
 *   exception is qmio_cancel, which another thread may call while a call on the handle is blocked. Opening codecs is
 *   serialised across all threads and all processes of the user that load the library from the same place.
 *   The process may end while threads are inside the library, on whatever handles: nothing is taken down then. No thread
 *   may be inside when the library is unloaded from a process that goes on.
 *
 * Names and text
 *   Narrow names (_a) are in the ANSI code page of the system (UTF-8 on Linux), wide names (_w) are UTF-16 on Windows
 *   and UTF-32 on Linux. A name that is longer than 1,023 bytes after conversion, or longer than 512 UTF-16 units
 *   when it came as narrow text, is refused. Texts that the library returns are UTF-8.
 *
 * Frame numbers
 *   Frames are numbered from 0 by their timestamps and the frame rate: number n is shown n frame periods after the
 *   stream's start. In a source of constant rate that is the order in which reading delivers them. Where frames are
 *   missing or last longer, numbers are left out; seeking to such a number gives the next frame that there is. A source
 *   that is opened with the option "count=1" has its frames numbered in the order in which they are shown, without gaps.
 *
 * Pixel formats
 *   A pixel format is a number of this interface: the values of the AV_PIX_FMT_ constants below and of qmio_fmtid,
 *   the same whatever FFmpeg is linked (BGRA is 30). A format that only the linked FFmpeg knows has the number
 *   0x10000 + FFmpeg's own.
 *
 * Errors
 *   Functions return what happened and never throw or stop the process; qmio_why tells why one has failed. FFmpeg's
 *   error messages go to standard error and to the log file, or to the host (qmio_set_log); the configuration file
 *   beside the library chooses how much of them, and which of the library's own trace lines.
 *
 * Memory
 *   Buffers for pictures are the caller's. Nothing outside the size that a function asks for is written.
 *
 * Sample formats
 *   A sample format is a code of this interface: its bits per sample, negative where each channel lies in a plane of its
 *   own (the QMIO_SAMPLES_ constants). Float is 0, or -1 in planes, since 32 is the integer. What asks FFmpeg's numbers
 *   instead says so ("sample_fmt_id", "sample_fmts").
 *
 * Time
 *   Frames and samples are counted, from 0. Times come in one of three units, and each call and key says in which:
 *   the time base of a stream (packets, qmio_seek_ts: pts x num / den is seconds), microseconds (containers, "duration_us",
 *   qmio_fifo_ts) and milliseconds (qmio_get_dur). An unknown time is QMIO_UNKNOWN_TIME, an unknown length of a stream
 *   mostly 0; each says so. Nothing is guessed.
 *
 * What loading does to the process
 *   No call initialises the library. Loading it reads the configuration file beside it, sets FFmpeg's log callback and
 *   level, which all users of the same FFmpeg in the process share, registers FFmpeg's devices, and opens the lock by which
 *   processes of one user take turns at opening codecs: on Linux a file in /dev/shm/qmio-UID, on Windows a kernel object.
 *   No thread, no process and no connection is begun. Unloading gives the level back and FFmpeg's own callback; the key
 *   ffmpeg_log of the configuration leaves both as they are.
 *
 * Configuration
 *   An XML file of the library's name with the extension .cfx beside the library: libqmio.cfx, qmio.cfx. It is read once;
 *   without it, and where it is malformed, every default holds. It chooses messages, traces and the log file, code page,
 *   scaler, bounds of what files may ask for, codecs that are passed over and options of every open. A commented sample is
 *   installed as libqmio.cfx.sample; docs/configuration.md tells all keys.
 *
 * Families of names
 *   qmio_     works on a plain buffer, or on no picture at all
 *   imio_     the same on an imio_picture, which brings its own size
 *   _a _w _u8 a name in the system's narrow code page, in wide characters, in UTF-8
 *   _ex       with options or flags, or without a short cut that the plain form takes
 *   _frame    of the packet that the handle holds;  _pkt  of a packet of the host's
 *
 *   For handles of open:    reading, seeking, decoding, packets, the queue, qmio_read_sound, qmio_set_dst_fmt, qmio_set_track
 *   For handles of create:  writing, qmio_resample_track, qmio_finish
 *   For handles of mux:     qmio_copy_frame, qmio_put_frame, qmio_finish; qmio_write_track where the tracks are encoded
 *   For all:                qmio_set_dst_audio, parameters, texts, qmio_flush, qmio_cancel, qmio_close
 *   For none:               pictures, the catalogue, memory, qmio_why, qmio_cancel_open, qmio_set_log
 *
 * The order that works
 *   Reading:   open; the track, then the form of sound (qmio_set_track, qmio_set_dst_audio); the pixel format; seek, then
 *              read; at the end drain with qmio_video_pkt(h, buffer, NULL); close.
 *   Writing:   create; pictures and their sound in turns, the sound converted by qmio_resample_track where it has another
 *              form; finish, where the result matters; close.
 *   Remuxing:  open; mux; qmio_get_frame, qmio_copy_frame, qmio_release_frame until the end; finish; close.
 *
 * Results
 *   What                                  Well                        Failure
 *   open, create, mux                     a handle                    null
 *   qmio_read_frame, _video_ (a picture)  3, 5, 7; 1 held; 0 none     -1, -4, -5, -6 (QMIO_PICTURE_ and below)
 *   qmio_get_buf                          rows                        0, -1
 *   qmio_get_frame                        0, 1, 2 (QMIO_PACKET_)      -1, the end as well
 *   qmio_seek_frame                       the frame; 0 nothing to do  -1
 *   qmio_audio_frame                      bytes                       0
 *   qmio_read_sound                       samples; 0 at the end       below 0 (QMIO_SOUND_)
 *   qmio_write_frame, qmio_put_frame      0                           FFmpeg's negative number
 *   qmio_write_track, qmio_write_audio    0 or more                   below 0 (QMIO_TRACK_)
 *   qmio_copy_frame                       1, 2; 0 nothing to copy     -1, FFmpeg's negative number
 *   qmio_finish                           0                           FFmpeg's negative number
 *   pictures: cvt, scale                  rows                        0
 *   qmio_get_file_param                   the number                  -1 (some keys have -1 as an answer: they say so)
 *   qmio_get_text, qmio_timecode          bytes of the text           -1
 *
 * Versions and ABI
 *   QMIO_VERSION is that of this header. All versions of one major number run hosts that were built with an older one of
 *   them: functions, records, numbers and texts stay, new ones come. libqmio.so.3 is the name that hosts are linked with.
 *   FFmpeg's types are named and never laid open, so a host depends on no version of FFmpeg.
 *
 * Example: counts the frames of a video, and has each of them as BGRA pixels on the way. (examples/read_frames.c)
 *
 *     #include <qmio.h>
 *     #include <stdio.h>
 *
 *     int main(int argc, char** argv) {
 *         char reason[512] = "it has no pictures";
 *         MediaHandle* media = qmio_open_u8(argc > 1 ? argv[1] : "", NULL);
 *         if (media == NULL)
 *             return qmio_why(reason, sizeof reason), fprintf(stderr, "%s\n", reason), 1;
 *         const int width = (int)qmio_get_file_param(media, "width"), height = (int)qmio_get_file_param(media, "height");
 *         const int size = qmio_get_bufsize(AV_PIX_FMT_BGRA, width, height);  // negative without a picture
 *         uint8_t* picture = (uint8_t*)qmio_alloc(size);
 *         if (picture == NULL || size <= 0)
 *             return fprintf(stderr, "%s: %s\n", argv[1], reason), qmio_free(picture), qmio_close(media), 1;
 *         int frames = 0, result;
 *         while ((result = qmio_read_frame(media, picture)) != QMIO_NO_PICTURE)
 *             frames += result > QMIO_PICTURE_HELD;  // below 0: a damaged packet, after which reading goes on
 *         while (qmio_video_pkt(media, picture, NULL) > QMIO_PICTURE_HELD)  // what the decoder still holds at the end
 *             ++frames;
 *         printf("%d frames of %d x %d\n", frames, width, height);
 *         qmio_free(picture);
 *         qmio_close(media);
 *         return 0;
 *     }
 */
#ifndef QMIO_H
#define QMIO_H

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <wchar.h>
#endif

/*
 * The version of this header: of a program, the one that it was built with. The library that runs tells its own by
 * qmio_get_file_info(NULL, "ver"). See "Versions and ABI" above.
 */
#define QMIO_VERSION_MAJOR 3
#define QMIO_VERSION_MINOR 2
#define QMIO_VERSION_PATCH 2
#define QMIO_VERSION_STRING "3.2.2"
#define QMIO_VERSION (QMIO_VERSION_MAJOR * 10000 + QMIO_VERSION_MINOR * 100 + QMIO_VERSION_PATCH)

/* A host that links the library's objects themselves defines QMIO_STATIC. */
#if defined(QMIO_STATIC)
#define QMIO_API
#elif defined(_WIN32)
#if defined(QMIO_BUILDING)
#define QMIO_API __declspec(dllexport)
#else
#define QMIO_API __declspec(dllimport)
#endif
#else
#define QMIO_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Opaque to hosts. The FFmpeg types are FFmpeg's own; a host that includes FFmpeg's headers sees the same types. */
typedef struct MediaHandle MediaHandle;
typedef struct AVPacket AVPacket;
typedef struct AVFrame AVFrame;
typedef struct AVCodec AVCodec;
typedef struct AVOutputFormat AVOutputFormat;
typedef struct SwsContext SwsContext;
typedef struct SwsFilter SwsFilter;

/* A time that is not known. */
#define QMIO_UNKNOWN_TIME INT64_MIN

/* ---- Records ---------------------------------------------------------------------------------------------------- */

/*
 * A picture in the host's memory. The host owns the record and the block of pixels; the library keeps neither.
 * All planes follow one another in the block, rows aligned to `alignment` bytes, as qmio_image_fill_arrays lays them
 * out; the result of that call is the size that the block must have, and nothing beyond it is read or written. For
 * packed formats with alignment 1 that is width x height x bytes per pixel. A format with a palette has its 256
 * entries of four bytes behind the pixels. Where line_size says that rows of four or more bytes per pixel lie further
 * apart, the block must have line_size x height bytes. The block itself may lie at any address.
 */
typedef struct imio_picture {
    int32_t format;     /* pixel format, a number as qmio_fmtid gives it */
    uint32_t reserved0; /* reserved words are 0 */
    uint8_t* data;      /* first byte of the block */
    uint64_t reserved1;
    int32_t width;     /* pixels, at least 1 */
    int32_t height;    /* rows, at least 1 */
    int32_t line_size; /* bytes from row to row, for the linear scaler and for filling in opaque alpha alone */
    uint32_t reserved2[3];
    int32_t alignment; /* of rows, in bytes: a power of two, at least 1 */
    uint32_t reserved3[5];
    uint64_t reserved4;
} imio_picture;

/* Where the planes of a picture begin and how many bytes lie between their rows; the last four are not used. */
typedef struct qmio_planes {
    uint8_t* data[8];
    int32_t linesize[8];
} qmio_planes;

/* Times of a packet, in units of its stream's time base; an unknown timestamp is QMIO_UNKNOWN_TIME. */
typedef struct pkt_time_info {
    int64_t pts;        /* when it is shown */
    int64_t dts;        /* when it is decoded */
    int64_t start_time; /* of the stream; 0 when unknown */
    int64_t duration;   /* 0 when unknown */
    int32_t time_base_num, time_base_den;
    int32_t frame_rate_num, frame_rate_den; /* as FFmpeg guesses it; 0 for sound */
    int64_t reserved[3];
} pkt_time_info;

/* Times of a stream or packet, in units of its time base; what is unknown is QMIO_UNKNOWN_TIME. */
typedef struct qmio_time_param {
    int64_t pts;      /* of a packet */
    int64_t dts;      /* of a packet */
    int64_t start;    /* of the stream, 0 when unknown; for a seek position microseconds */
    int64_t duration; /* of the stream or packet */
    int32_t time_base_num, time_base_den;
    int32_t frame_rate_num, frame_rate_den;
    int64_t container_start, container_duration; /* microseconds */
    int64_t frame_count;
} qmio_time_param;

/* ---- Memory, errors, small queries ------------------------------------------------------------------------------ */

/*
 * The library's allocator, for buffers that one side allocates and the other frees. Any thread may call.
 *
 * qmio_alloc gives `size` bytes of any content, qmio_calloc the same zeroed, aligned for the widest vector
 * instructions. qmio_realloc resizes a block of this allocator (null: allocates one), keeps its content up to the
 * smaller size and may move it; when it fails the old block stays valid and the caller's; blocks it returns have only
 * the alignment of the system's own allocator. A size of 0 gives a block that may not be written to.
 * All three return null for a negative size and when memory is short. The caller owns the block and frees it with
 * qmio_free, which does nothing for null.
 */
QMIO_API void* qmio_alloc(int size);
QMIO_API void* qmio_calloc(int size);
QMIO_API void* qmio_realloc(void* p, int size);
QMIO_API void qmio_free(void* p);

/*
 * Takes the library's last error message. There is one for all handles: a newer message replaces an older one, and
 * taking it forgets it. A message is kept when an open finds a stream that has no codec; other failures keep none.
 *
 * buf   receives the message as UTF-8 with its NUL, or an empty string when there is none: room for 512 bytes, which
 *       no message exceeds. May be null: the message is forgotten all the same.
 * Returns 1 when a message was kept since the last call, else 0. Any thread may call.
 */
QMIO_API int qmio_get_error(char* buf);

/*
 * Container stream index of the packet read last, and of the audio packet read last; -1 for a null handle, 0 before
 * the first packet. Releasing the packet makes the first of them 0 again.
 */
QMIO_API int qmio_get_vstream(MediaHandle* h);
QMIO_API int qmio_get_astream(MediaHandle* h);

/* Length of the audio in milliseconds (of the last audio track); 0 without audio, when unknown, and for null. */
QMIO_API int qmio_get_dur(MediaHandle* h);

/*
 * Prints the address of an inner object to standard error, for debugging: "video_st" is the video stream, any other
 * text prints nothing. Returns 1; 0 when either argument is null.
 */
QMIO_API int qmio_print(MediaHandle* h, const char* what);

/* ---- Opening ---------------------------------------------------------------------------------------------------- */

/*
 * Opens a source for reading: its container, its first video stream's decoder and the decoders of up to 16 audio
 * streams, which become the tracks 0 to 15.
 *
 * name      a file name or any URL that FFmpeg opens; or, by a prefix in any case:
 *           "mem:"    the pointer is a memory block itself (narrow forms only): its first 32 bytes hold the text "mem:"
 *                     and the size of the data in hexadecimal, ended by a NUL; the data (a picture, or pictures one
 *                     after the other) begins at byte 32. The block stays the caller's and unchanged until the close.
 *           "avio:"   a local file of pictures, read through the system's own file calls: "avio:/path/picture.png"
 *           "ftp:"    an FTP address; "?passive" in its query uses passive mode and reads front to back. A server that
 *                     stands still for 30 seconds ends reading, too
 *           "dshow:"  a capture device of Windows; fails where FFmpeg has no such devices
 *           Where the name is that of a network, a server that stands still for 30 seconds ends the opening; the
 *           option "timeout" says otherwise, in microseconds, and 0 for ever. Where FFmpeg's protocol has a time limit
 *           for each read, an explicit "timeout" is that, too.
 * options   key=value pairs for FFmpeg's demuxer, its protocol ("user_agent", "headers") and its video decoder,
 *           separated by commas ("threads=1,probesize=1M"), or null. Keys that none of them knows are ignored. The
 *           default is threads=0: one per processor. A decoder that would give wrong pictures after a seek with a
 *           picture per thread (Theora's) does not work so, not with thread_type=frame either. The library's own options,
 *           "count", "matrix", "rotate" and others, stand at the end of this file. A wide string holds at
 *           most 4,095 bytes as ANSI text; with a longer one nothing is opened.
 *
 * Returns the handle, or null; qmio_get_error tells more where a stream has no codec. A source whose audio cannot be
 * decoded opens with video alone. A source without any video or audio opens, too. When another process is writing the
 * same file and publishes its frame positions, seeking uses them.
 */
QMIO_API MediaHandle* qmio_open_a(const char* name);
QMIO_API MediaHandle* qmio_open_ex_a(const char* name, const char* options);
QMIO_API MediaHandle* qmio_open_w(const wchar_t* name);
QMIO_API MediaHandle* qmio_open_ex_w(const wchar_t* name, const wchar_t* options);

/* ---- Reading video ---------------------------------------------------------------------------------------------- */

/* What qmio_get_frame found; the latter two also name a kind where one is asked for. */
enum { QMIO_PACKET_OTHER = 0, QMIO_PACKET_VIDEO = 1, QMIO_PACKET_AUDIO = 2 };

/*
 * What decoding came to. The pictures are bit sets: bit 0 a picture was delivered, bit 1 its top field, bit 2 its
 * bottom field comes first; both fields at once make it progressive.
 */
enum {
    QMIO_PICTURE_PROGRESSIVE = 7,
    QMIO_PICTURE_TOP_FIELD_FIRST = 3,
    QMIO_PICTURE_BOTTOM_FIELD_FIRST = 5,
    QMIO_PICTURE_HELD = 1,       /* nothing was decoded: the only picture of the source is held already */
    QMIO_NO_PICTURE = 0,         /* the packet was used up without a picture, or the input has ended */
    QMIO_NOTHING_TO_DECODE = -1, /* a null handle or picture, or a source without video */
    QMIO_NO_VIDEO_STREAM = -4,
    QMIO_OTHER_STREAM = -5, /* the packet belongs to another stream */
    QMIO_DECODER_ERROR = -6 /* the packet is damaged; go on with the next */
};

/*
 * Reading the next picture. Pictures come in the order in which they are shown, none is skipped.
 *
 * buffer   width x height x 4 bytes, rows from top to bottom without gaps: the picture in the format of
 *          qmio_set_dst_fmt, BGRA at first, which for these functions has to be one of 4 bytes per pixel. Width and
 *          height are those of qmio_get_file_param "width" and "height". A source without transparency is delivered
 *          opaque.
 * pic      (the imio_ form) a picture of any size: the frame is scaled to its width and height. Its data, width,
 *          height, line_size and alignment are read; its format is not, the handle's is used. Its data has to hold
 *          qmio_image_fill_arrays' size for that format, size and alignment, or line_size x height bytes where that is
 *          more: the rows that opaque alpha is filled into lie line_size bytes apart.
 *
 * After a seek the next picture is the one that was asked for; the way to it is decoded but not delivered, and damage
 * on the way is not reported.
 * Returns a picture code; QMIO_DECODER_ERROR for a damaged packet, after which reading goes on; 0 at the end of the
 * input, for null, and for a source without video. At the end the decoder may still hold pictures: take them with
 * qmio_video_pkt(h, buffer, NULL) until it returns 0. (A source that counts as one frame, and the way to a sought
 * frame, need no asking.) Audio packets on the way are dropped.
 *
 * A still picture is read once. Its input has ended then, so that reading gives 0, after a seek to frame 0 as well;
 * qmio_get_buf delivers it again. What is decoded of a source that counts as one frame while that picture is held and
 * wanted, more packets of a file of unknown length and the drain above, comes to QMIO_PICTURE_HELD, with the buffer left
 * as it is.
 */
QMIO_API int qmio_read_frame(MediaHandle* h, uint8_t* buffer);
QMIO_API int imio_read_frame(MediaHandle* h, imio_picture* pic);

/*
 * Converts the picture decoded last once more, for instance into another format or size. Returns the rows written; 0
 * for a null buffer, before any picture and when it cannot be converted; -1 for a null handle, a null picture record
 * or a source without video. A picture record without data is left alone: 1.
 */
QMIO_API int qmio_get_buf(MediaHandle* h, uint8_t* buffer);
QMIO_API int imio_get_buf(MediaHandle* h, imio_picture* pic);

/*
 * Reads one packet of any stream. Returns QMIO_PACKET_VIDEO, QMIO_PACKET_AUDIO for a selected audio track,
 * QMIO_PACKET_OTHER for anything else, -1 at the end of the input and on errors. The handle holds the packet until
 * qmio_release_frame, which returns 0, or until it reads the next one.
 */
QMIO_API int qmio_get_frame(MediaHandle* h);
QMIO_API int qmio_release_frame(MediaHandle* h);

/*
 * Decodes one packet: `pkt`, or (the _frame forms) the one that the handle holds. At most one picture comes out per
 * call, and not always that of this packet; none is lost. A null `pkt` takes out what the decoder still holds, a
 * picture per call, until QMIO_NO_PICTURE; packets may follow after that. These calls deliver every picture, also on
 * the way to a frame that was sought.
 *
 * buffer, pic   as for reading; a null buffer, or a picture without data, decodes without converting.
 * pkt           its data and size advance as they are used; it stays the caller's.
 */
QMIO_API int qmio_video_pkt(MediaHandle* h, uint8_t* buffer, AVPacket* pkt);
QMIO_API int qmio_video_frame(MediaHandle* h, uint8_t* buffer);
QMIO_API int imio_video_pkt(MediaHandle* h, imio_picture* pic, AVPacket* pkt);
QMIO_API int imio_video_frame(MediaHandle* h, imio_picture* pic);

/*
 * 1 when the packet of this kind (QMIO_PACKET_VIDEO or _AUDIO) that was read last does not lie before the start of the video;
 * else 0, also for a null handle and any other kind.
 */
QMIO_API int qmio_is_valid_frame(MediaHandle* h, int kind);

/*
 * Chooses the pixel format in which pictures are delivered from now on. Returns 1, for an unknown format too: nothing
 * can be converted then. 0 for a null handle.
 */
QMIO_API int qmio_set_dst_fmt(MediaHandle* h, int pix_fmt);

/* ---- Seeking ---------------------------------------------------------------------------------------------------- */

/*
 * Moves to a frame: the next qmio_read_frame delivers exactly the picture that reading from the start would deliver
 * under this number. A negative number means frame 0 (not for the last of the three). Where other tracks are read, they
 * go on from around there.
 *
 * qmio_seek_frame returns the frame; 0 when there was nothing to do (a null handle, a still picture, which is not read
 * again, the start of a fresh handle) or when the source has only audio, which is rewound to its start (a sound file with a
 * cover counts as a still picture and is not); -1 when the source cannot be
 * positioned. After that it answers 0 at once and reading goes on where it stands. With published frame positions a
 * number behind the last published frame means that frame.
 *
 * Pictures that were passed on the way or delivered behind a seek are kept, as far as the configuration's key
 * "frame_cache" lets them (256 MiB for all handles), so that stepping back, going to and fro and leaping forward cost little
 * more than reading in order. No result tells whether a picture was kept.
 *
 * qmio_seek_frame_ex does the same without looking at published positions or earlier failures.
 *
 * qmio_seek_frame_ex_old positions at the packet of the frame and leaves it to the host to decode from there: what
 * comes next need not be a whole picture. Returns the frame, also when it is the next one anyway; 0 and -1 as above.
 */
QMIO_API int qmio_seek_frame(MediaHandle* h, int frame);
QMIO_API int qmio_seek_frame_ex(MediaHandle* h, int frame);
QMIO_API int qmio_seek_frame_ex_old(MediaHandle* h, int frame);

/*
 * Moves to the key packet at or before a timestamp of the stream, in its time base. kind: QMIO_PACKET_VIDEO, or
 * QMIO_PACKET_AUDIO for the current audio track. Returns the timestamp; 0 on failure, for a still picture and for any other kind.
 */
QMIO_API int64_t qmio_seek_ts(MediaHandle* h, int64_t ts, int kind);

/* ---- Audio ------------------------------------------------------------------------------------------------------ */

/*
 * The audio streams of a source are its tracks, numbered from 0 in the container's order, at most 16 of them. A track
 * is chosen first (track 0 is at first), then a form of sound, then packets are decoded into it:
 *
 *     qmio_set_track(h, 0);
 *     qmio_set_dst_audio(h, 2, 48000, 16);
 *     while ((kind = qmio_get_frame(h)) >= 0) {
 *         while (kind == QMIO_PACKET_AUDIO && (bytes = qmio_audio_frame(h, buffer)) > 0)
 *             use(buffer, bytes);
 *         qmio_release_frame(h);
 *     }
 *
 * Three numbers name a channel. A stream is an index of the container. A flat channel (ffch) counts through all
 * tracks: the channels of track 0 first, then those of track 1. A track channel (trch) is track x 65536 + channel
 * within the track.
 */

/*
 * Chooses the track that is read, or all of them with a negative number. The form that is delivered becomes the track's
 * own (for all tracks: the rate and format of track 0). All tracks together are converted as if each had the rate of
 * track 0: one with another rate plays at the wrong speed. Read the tracks of such a file one by one. Follow it with qmio_set_dst_audio, which alone makes what
 * converts. Returns `track`; 0 for a null handle and a number at or above the number of tracks, which for track 0
 * cannot be told from success.
 */
QMIO_API int qmio_set_track(MediaHandle* h, int track);

/*
 * Lets channel `ffch` of the source feed channel `user_channel` (0 to 63) of what is delivered in a packed format from
 * one track; a negative `ffch` gives silence. Other user channels are left alone. qmio_set_dst_audio maps every channel
 * to itself again. Always 0.
 */
QMIO_API int qmio_map_audio(MediaHandle* h, int user_channel, int ffch);

/*
 * Channel counts: of what is delivered, of a track, of the track that a stream is (through qmio_stream2trch). A
 * negative track or stream means what is delivered. 0 for a null handle and for a track that there cannot be.
 */
QMIO_API int qmio_user_chans(MediaHandle* h);
QMIO_API int qmio_track_chans(MediaHandle* h, int track);
QMIO_API int qmio_stream_chans(MediaHandle* h, int stream);

/*
 * From one name of a channel to another. A flat channel behind the last one gives a track channel with track 16.
 * qmio_stream2ffch and qmio_ffch2stream take the number of the track for the flat channel, which is the same as long as
 * every track before it is mono; the two stream and track channel forms go through them. -1 for what is not there and
 * for a null handle (qmio_stream2trch: 0x0000FFFF; qmio_ffch2trch and qmio_trch2ffch: 0).
 */
QMIO_API int qmio_ffch2trch(MediaHandle* h, int ffch);
QMIO_API int qmio_trch2ffch(MediaHandle* h, int trch);
QMIO_API int qmio_stream2ffch(MediaHandle* h, int stream);
QMIO_API int qmio_ffch2stream(MediaHandle* h, int ffch);
QMIO_API int qmio_stream2trch(MediaHandle* h, int stream);
QMIO_API int qmio_trch2stream(MediaHandle* h, int trch);

/*
 * Put one track's interleaved samples into interleaved frames of qmio_user_chans channels, both in the delivered
 * format. Called for one track after the other on the same `dst` they assemble the whole frames.
 *
 * qmio_audio_remap goes by the channel map: channels fed by this track are written, channels fed by another are left as
 * they are, channels without a source become zero bytes (also in unsigned 8-bit, where that is not silence).
 * qmio_remap_audio puts all channels of the track where the track's flat channels are. A track that reaches past the
 * last user channel is not cut: `dst` needs room for it behind the last frame.
 *
 * samples   frames to copy; below 1 nothing is done.
 * track     0 to 15
 * Returns `samples`; 0 for a null handle or buffer, a track that there cannot be, and (the second) a track that begins
 * at or behind the last user channel.
 */
QMIO_API int qmio_audio_remap(MediaHandle* h, void* dst, const void* src, int samples, int track);
QMIO_API int qmio_remap_audio(MediaHandle* h, void* dst, const void* src, int samples, int track);

/* Codes of sample formats. Unsigned in 8 bits, signed above; QMIO_SAMPLES_DOUBLE is floating and S64 an integer. */
enum {
    QMIO_SAMPLES_U8 = 8,
    QMIO_SAMPLES_S16 = 16,
    QMIO_SAMPLES_S32 = 32,
    QMIO_SAMPLES_S64 = 128,
    QMIO_SAMPLES_FLOAT = 0,
    QMIO_SAMPLES_DOUBLE = 64,
    QMIO_SAMPLES_U8_PLANES = -8,
    QMIO_SAMPLES_S16_PLANES = -16,
    QMIO_SAMPLES_S32_PLANES = -32,
    QMIO_SAMPLES_S64_PLANES = -128,
    QMIO_SAMPLES_FLOAT_PLANES = -1,
    QMIO_SAMPLES_DOUBLE_PLANES = -64
};

/*
 * Chooses the form in which sound is delivered from the chosen track, or in a writer the form that qmio_resample_track
 * takes; maps every channel to itself.
 *
 * chans      channels; each count stands for its usual speakers. Tracks that are read all together keep their own.
 * rate       Hz
 * fmt_code   a QMIO_SAMPLES_ code. All tracks together are always delivered packed. With any other number, nothing is
 *            delivered.
 * Where the source has this form already the samples are delivered as they were decoded. Where libswresample cannot
 * convert to it (a channel count without usual speakers, a rate below 1) they are, too, each in the first bytes of its
 * place.
 * Returns 1, or 0 for a null handle and a source without audio that can be decoded.
 */
QMIO_API int qmio_set_dst_audio(MediaHandle* h, int chans, int rate, int fmt_code);

/*
 * Decodes one packet of sound, `pkt` or (qmio_audio_frame) the audio packet that qmio_get_frame read last and that is
 * not released yet, and delivers one decoded frame of it. While more frames of the packet wait its size stays above 0:
 * call again with it until the result is 0.
 *
 * buf   receives the samples. Packed: channel after channel, frame after frame. Planar: one plane after the other,
 *       without gaps. How long a frame is decides its codec: 1,024 to 4,608 samples are usual, lossless codecs go to
 *       65,536 and more, a little over a second. Uncompressed sound comes in frames as long as its packet: ask
 *       qmio_get_stream_param "pkt_size" before the call; no such codec makes more than 8 samples out of a byte.
 * pkt   its data and size advance as they are used; it stays the caller's. Packets of a track that is not chosen are
 *       delivered, too.
 * A channel of a packed format that the map feeds from a channel which the source does not have gets the source's
 * first, also where converting made more channels: stereo asked for as 6 packed channels has its first in the last
 * four. One without source becomes silent. Planes are not mapped; those beyond what there is are silent.
 * Returns the bytes written; 0 when the packet gave nothing (more), is damaged, is no audio, or anything is null.
 */
QMIO_API int qmio_audio_frame(MediaHandle* h, void* buf);
QMIO_API int qmio_audio_pkt(MediaHandle* h, void* buf, AVPacket* pkt);

/*
 * For writing: converts sound in the form of qmio_set_dst_audio into the form in which `track` of the file takes it.
 *
 * dst   has room for the converted samples: as many as `src` has, times the ratio of the rates, and 256 more; or, when
 *       nothing has to be converted, for `src_bytes`, which are then copied as they are.
 * Planes follow one another without gaps on both sides. Returns the bytes written; 0 on a conversion error, for null,
 * for a track that there is not, and in a reader whose sound is converted.
 */
QMIO_API int qmio_resample_track(MediaHandle* h, int track, void* dst, const void* src, int src_bytes);

/* Bytes of one sample of one channel in the delivered format; 0 for an unknown format and a null handle. */
QMIO_API int qmio_sample_size(MediaHandle* h);

/* ---- Packets ---------------------------------------------------------------------------------------------------- */

/*
 * Packet records let a host work below the decoders: keep what qmio_get_frame read, decode it later, classify it, time
 * it. A host treats a record as opaque, makes it with qmio_pkt_alloc and ends it with qmio_pkt_free.
 *
 * One rule of ownership: a copy borrows. copy, get, put, save and restore copy the record, never the bytes, and a host
 * counts on those only as long as the packet that they came from lives; qmio_pkt_clone and qmio_pkt_dup make a record
 * own its bytes. Freeing and releasing end a record's hold on its bytes. Every record holds a share of its own,
 * so these calls may come in any order, twice too: nothing is freed under another record, and nothing leaks. A record
 * that is written over gives up what it held. Nobody writes to a packet's bytes.
 *
 * Records belong to the thread that uses them; those of a handle to the handle's.
 */

/* A new record of zeros, or null when memory is short. */
QMIO_API AVPacket* qmio_pkt_alloc(void);

/* Ends the record and its hold on the bytes. Returns 0. Null does nothing. */
QMIO_API int qmio_pkt_free(AVPacket* p);

/* Ends the record's hold on the bytes and makes the record zeros again. Returns 0, for null too. */
QMIO_API int qmio_pkt_release(AVPacket* p);

/* Makes the record own its bytes. Returns 1, also when it did before; 0 for null and when memory is short. */
QMIO_API int qmio_pkt_clone(AVPacket* p);

/* Copies a record. Returns `dst`; null when either is null or memory is short. */
QMIO_API AVPacket* qmio_pkt_copy(AVPacket* dst, const AVPacket* src);

/*
 * The packet read last: copied into `dst`, by qmio_pkt_dup owned by it. Returns `dst`; null when either is null or
 * memory is short, qmio_pkt_dup also for a cancelled handle.
 */
QMIO_API AVPacket* qmio_pkt_get(MediaHandle* h, AVPacket* dst);
QMIO_API AVPacket* qmio_pkt_dup(MediaHandle* h, AVPacket* dst);

/*
 * Makes `src` the packet that the handle's qmio_video_frame and qmio_audio_frame decode. Decoding sound uses up the
 * handle's copy for it; qmio_pkt_get still gives the packet whole. Returns 1; 0 for null and when memory is short.
 */
QMIO_API int qmio_pkt_put(MediaHandle* h, const AVPacket* src);

/* Lays a packet aside in the handle, and copies it back from there. Return 1; 0 for null and when memory is short. */
QMIO_API int qmio_pkt_save(MediaHandle* h, const AVPacket* src);
QMIO_API int qmio_pkt_restore(MediaHandle* h, AVPacket* dst);

/* QMIO_PACKET_VIDEO or QMIO_PACKET_AUDIO by the packet's stream; QMIO_PACKET_OTHER for any other stream and for null.
 */
QMIO_API int qmio_pkt_type(MediaHandle* h, const AVPacket* p);

/*
 * Tells a packet's times. `info` may be null. Without a handle, and for a stream that it does not have, only what is
 * in the packet itself is told. Returns the packet's size in bytes, 0 for a null packet.
 */
QMIO_API int qmio_pkt_time(MediaHandle* h, const AVPacket* p, pkt_time_info* info);

/*
 * Stamps a packet with the time of a frame number in the video stream's time base: frame 0 is time 0. Returns 1; 0 for
 * null and for a handle without video.
 */
QMIO_API int qmio_pkt_ts(MediaHandle* h, AVPacket* p, int64_t frame);

/* ---- Reading in the background ---------------------------------------------------------------------------------- */

/*
 * From now on a thread of the library reads the packets of a source ahead of the host, up to 500 of them, and qmio_get_frame
 * takes them from there: by their decoding times, also where the container stores sound and pictures far apart, from `in`
 * to `out` and as often as wanted over what lies between two loop points. Made for playing:
 *
 *     qmio_fifo_frame(h, 100, 200, 120, 150, 5);
 *     while ((kind = qmio_get_frame(h)) >= 0) {
 *         if (kind == QMIO_PACKET_VIDEO && qmio_video_frame(h, picture) > 0)
 *             show(picture);
 *         while (kind == QMIO_PACKET_AUDIO && (bytes = qmio_audio_frame(h, sound)) > 0)
 *             play(sound, bytes);
 *         qmio_release_frame(h);
 *     }
 *
 * Reading begins at the key packet at or before `in`; the host drops the pictures before its first one (their numbers are
 * "dts_frame" of qmio_get_file_param). It ends, and qmio_get_frame gives -1 then and ever after, behind the first packet
 * that lies a frame or more after `out`, at the end of the source and on errors. At the first packet that lies a frame or
 * more after `loop_out`, or at the end of the source, it goes back to the key packet at or before `loop_in`, `loops` - 1
 * times. There qmio_get_frame gives one QMIO_PACKET_OTHER, the sync point; pictures and sound that the decoders hold then
 * are not lost but come with the next packets. At the end they are taken with qmio_video_pkt(h, buffer, NULL), as always.
 *
 * in, out,            qmio_fifo_ts: microseconds after the first decoding time of the stream that a packet belongs to;
 * loop_in, loop_out   qmio_fifo_frame: frame numbers, 25 a second in a source without video. An `out` below 0 is the end
 *                     of the source; a loop point outside of `in` to `out` is moved there
 * loops               how often the loop is gone through in all; 1 and less: once, 2147483647: for ever
 *
 * Sound: the packets of all tracks that have the same time come as one; qmio_audio_frame writes all of them, each into the
 * channels that the channel map gives to its track, and returns the bytes of the longest.
 *
 * Until qmio_close the source belongs to the thread. Seeking answers its failure values and changes nothing; qmio_pkt_get,
 * qmio_pkt_dup and imio_video_frame do not see the packets in the queue; everything else is as before, qmio_read_frame too.
 * The decoders stay with the thread of the host. Calling again ends the reading and begins anew; where no thread can be had,
 * or a system call holds the one before fast, nothing is begun. qmio_cancel and qmio_close interrupt a source that blocks.
 * Where the system lets no one interrupt it (a pipe without writers), they wait for a second at most; the thread then frees
 * what it still uses when it comes back, and the library stays loaded for it. A null handle, a file being written and a
 * cancelled handle are left alone.
 */
QMIO_API void qmio_fifo_ts(MediaHandle* h, int64_t in, int64_t out, int64_t loop_in, int64_t loop_out, int loops);
QMIO_API void qmio_fifo_frame(MediaHandle* h, int in, int out, int loop_in, int loop_out, int loops);

/* ---- Writing ---------------------------------------------------------------------------------------------------- */

/* Flags of qmio_create_ex_a and _w. */
enum {
    QMIO_CREATE_INTERLEAVED = 0x40000, /* packets are buffered until those of all streams can be written in order, which
                                          "asf", "dv", "flv", "mxf", "nut", "rtp_mpegts" and "swf" need and always get
                                          ("flv" and "nut" not together with QMIO_CREATE_FRAME_INDEX) */
    QMIO_CREATE_FRAME_INDEX = 0x80000, /* readers of the same name find frames by number while the file is written */
    QMIO_CREATE_SUPPRESSED = 0x100000  /* encodes, but leaves the output without packets */
};

/*
 * Makes a file and opens everything in it: container, encoders, output; its header is written. Then come pictures and
 * sound, and qmio_close completes the file. Nothing is guessed from the name: the options have to name the container.
 *
 * name      a file name or URL, cut at the first '|'; or, for the narrow forms, "mem:": the pointer is a block of the
 *           caller's memory, laid out as for opening: 32 bytes of header with the size of the data behind it. What does
 *           not fit is left out. The block stays the caller's until the close, which writes the number of bytes into
 *           the header: "mem:", eight upper-case hexadecimal digits (the low 32 bits), a full stop. A block whose
 *           header tells no size is refused; one whose creation fails late may be left with eight zeros there.
 * options   key=value pairs, separated by ',', line feeds or blanks; at most 511 characters of a key or a value count.
 *           A value in double quotes keeps commas and blanks; lines that begin with '#', '/' or ';' are comments; a
 *           carriage return belongs to the value that it follows. A wide string holds at most 4,095 bytes as ANSI text;
 *           with a longer one nothing is made.
 *             fmt, f                         container ("mp4", "mov", "avi", "matroska", "mxf", "mpegts", "wav", ...);
 *                                            not one that completes files of its own: "hls", "dash", "hds",
 *                                            "smoothstreaming", "webm_chunk", "tee", "fifo" and "fifo_test" are
 *                                            refused
 *             vcodec, codec, codec:v, c:v    video encoder; none, or one that there is not: no video (qmio_why tells it)
 *             width, height, or size=WxH     picture size in pixels
 *             pix, pix_fmt                   pixel format in which pictures come
 *             r                              frame rate, N or N/D; 25 by default
 *             top                            interlaced: 1 top field first, 0 bottom field first; absent: progressive
 *             vtag                           four-character tag of the video
 *             acodec, codec:a, c:a           audio encoder; each begins a track, at most 16
 *             ac, channels                   channels of the track begun last: the usual speakers of that count, or the
 *                                            encoder's own; "ch_layout=5.1" names the speakers of all tracks instead
 *             ar, sample_rate                its sample rate in Hz
 *             afmt, sample_fmt               its sample format: a name ("s16", "fltp") or a code as for
 *                                            qmio_set_dst_audio; the encoder has to take it
 *             ab, b:a                        bit rate of the tracks
 *             metadata="key=value,..."       tags of the file
 *             tag:KEY="value"                one tag of the file, whatever letters are in it but a double quote; of the video
 *                                            "tag:v:KEY", of the track begun last "tag:a:KEY": tag:a:language=deu
 *             timecode                       start time code, hh:mm:ss:ff
 *             strict:v, strict:a             "experimental" allows experimental encoders
 *           Every other key is handed to FFmpeg: to the container if it knows it, "key:v" or "key" to the video
 *           encoder, "key:a" or "key" to the audio encoders ("b:v=2M,g=50,preset=fast,movflags=faststart"). Numbers may
 *           end in k, M or G (with an i: powers of 1024) and B (times 8). Keys that nobody knows are ignored.
 *           Narrow options are in the ANSI code page, like names.
 * flags     QMIO_CREATE_ flags; others are FFmpeg's AVIO_FLAG_ flags for the output
 *
 * Returns the handle; null when something cannot be made, after a message on standard error and in the log where it was
 * an encoder, the output or the header. An audio encoder that is not known leaves its track out; qmio_write_track tells
 * such a track by its result.
 */
QMIO_API MediaHandle* qmio_create_a(const char* name, const char* options);
QMIO_API MediaHandle* qmio_create_ex_a(const char* name, const char* options, uint32_t flags);
QMIO_API MediaHandle* qmio_create_w(const wchar_t* name, const wchar_t* options);
QMIO_API MediaHandle* qmio_create_ex_w(const wchar_t* name, const wchar_t* options, uint32_t flags);

/*
 * Writes the next picture. Pictures are numbered from 0 in the order of the calls, and shown one frame period after the
 * other; a picture that cannot be encoded uses up its number.
 *
 * data   the picture in the pixel format and size of the options, planes behind one another without gaps
 *        (qmio_image_fill_arrays with alignment 1). Only read, and only during the call.
 * pic    (the imio_ form) the same, its rows aligned to the record's alignment; nothing else of the record is read.
 *
 * The _write_ forms return 0 when the packet was written and also when the encoder wants more pictures first; a
 * negative FFmpeg error when writing failed; 0 for null, for a handle without video and for a picture that cannot be
 * encoded, an alignment that is no power of two among them. The _encode_ forms return
 * the packet instead, which becomes the caller's (qmio_pkt_free), or null when none came out. No packet is lost: one
 * that an encoder gave in surplus comes with the next call, or is written by qmio_close.
 */
QMIO_API AVPacket* imio_encode_frame(MediaHandle* h, const imio_picture* pic);
QMIO_API int imio_write_frame(MediaHandle* h, const imio_picture* pic);
QMIO_API AVPacket* qmio_encode_frame(MediaHandle* h, const uint8_t* data);
QMIO_API int qmio_write_frame(MediaHandle* h, const uint8_t* data);

/*
 * Writes a packet of the _encode_ forms, whose times are counted in frames. They become times of the stream in the
 * record; an interleaving handle takes the bytes over. Returns 0, or a negative FFmpeg error; 0 for null. In a file of
 * qmio_mux_a and _w packets of any make may be put, whose times are counted in units of the video codec's time base.
 */
QMIO_API int qmio_put_frame(MediaHandle* h, AVPacket* pkt);

/* What qmio_write_track came to when it is below 0. */
enum {
    QMIO_TRACK_NO_HANDLE = -1,
    QMIO_TRACK_NO_TRACK = -2,        /* there is no track of this number */
    QMIO_TRACK_NO_STREAM_INDEX = -3, /* its encoder was not known */
    QMIO_TRACK_NO_CODEC = -4,
    QMIO_TRACK_NO_ENCODER = -5,
    QMIO_TRACK_NO_STREAM = -6, /* the handle was cancelled or finished */
    QMIO_TRACK_NO_FORM = -7,   /* the options gave no channels or no sample format */
    QMIO_TRACK_NO_RING = -8,   /* a frame of the encoder is above 192,000 bytes */
    QMIO_TRACK_NO_BUFFER = -9,
    QMIO_TRACK_ENCODE_FAILED = -10,
    QMIO_TRACK_NO_DATA = -11,    /* null data for an encoder that takes any number of samples */
    QMIO_TRACK_FILL_FAILED = -12 /* less than one sample for such an encoder */
};

/*
 * Adds sound to a track (qmio_write_audio: to track 0), in the track's own sample format and channels; see
 * qmio_resample_track for sound of another form.
 *
 * data    samples of all channels: packed, or plane behind plane for a planar format. Null: silence, as much as `bytes`
 *         would be.
 * bytes   what is left over behind the last whole sample is dropped. At most 48,000 samples less one frame of the encoder
 *         at a time for encoders of fixed frames (AAC, MP2, AC-3, ...; 32,768 is right for all usual ones): what
 *         exceeds that is not kept as it should be. 48,000 for encoders of frames above 24,000 samples (TTA, WavPack).
 *
 * Encoders of fixed frames get whole ones; the rest waits for the next call. qmio_close fills up the last frame with
 * silence. What an audio encoder itself holds back is not fetched at the end.
 * Returns 0 or more when all went well, whatever the disk said; below 0 a QMIO_TRACK_ code. Output is buffered: after
 * qmio_flush a full disk shows in the result of the next qmio_write_frame or qmio_put_frame.
 */
QMIO_API int qmio_write_track(MediaHandle* h, int track, const uint8_t* data, int bytes);
QMIO_API int qmio_write_audio(MediaHandle* h, const uint8_t* data, int bytes);

/* ---- Remuxing --------------------------------------------------------------------------------------------------- */

/*
 * Makes a file that takes packets of open sources as they are, without decoding or encoding them:
 *
 *     MediaHandle* copy = qmio_mux_a("copy.mkv", "fmt=matroska", film, film);
 *     while (qmio_get_frame(film) >= 0 && qmio_copy_frame(copy, film) >= 0)
 *         qmio_release_frame(film);
 *     qmio_close(copy);
 *
 * The streams get what the sources say of theirs: codec, size, rates, shape of the pixels, rotation, disposition and,
 * of the video, the time code. How the packets are laid out inside follows the container (H.264 and HEVC with start
 * codes or lengths, AAC with or without its headers). Packets of several streams are put in order, for which up to ten
 * seconds of them are kept back.
 *
 * file        a file name or URL, cut at the first '|'. The narrow form is in the configured code page, unlike other
 *             narrow names. Files in memory ("mem:") cannot be made so.
 * options     as for creating a file. Of the library's own keys "fmt" counts, "metadata" and, without `audio_src`, those
 *             of sound; every other key is handed to the container. "avoid_negative_ts=make_zero" lets the file begin at
 *             time 0; without it packets keep the times that they have in the source. AVI has no such times and fills
 *             what comes before the first packet with empty ones; it refuses more than 60,000 of them.
 * video_src   a source with video, which becomes stream 0
 * audio_src   a source whose track 0 is copied, often the same handle; without a track that can be decoded there is no
 *             sound. Null: the tracks are those of the options ("acodec"), encoded; qmio_write_track fills them. Their
 *             encoders are not drained and what does not fill a frame is not written.
 *
 * The sources stay the host's; they need not outlive the call. Returns the handle; null when something cannot be made,
 * a null `video_src` and one without video among it, after a message on standard error and in the log where it was the
 * output or an encoder. A file that exists is overwritten at once: it must not be one of the sources.
 */
QMIO_API MediaHandle* qmio_mux_a(const char* file, const char* options, MediaHandle* video_src, MediaHandle* audio_src);
QMIO_API MediaHandle* qmio_mux_w(const wchar_t* file, const wchar_t* options, MediaHandle* video_src,
                                 MediaHandle* audio_src);

/*
 * Copies the packet that `src` read last (qmio_get_frame) into a file of qmio_mux_a or _w. The source's packet stays as
 * it is; decoding uses it up, so it is copied first. `src` need not be one of the handles that the file was made from: a
 * host may let other files of the same codecs and sizes follow one another. Handles that gave the file one of its two
 * streams only give packets of that one.
 *
 * Times that a packet lacks are made up from those before it and the frame rate, a missing pts from the dts; open the
 * source with "fflags=+genpts" where pictures are stored out of order without it (AVI). Times that go back a little are
 * moved up to the next that the container takes; where they go back further than a tenth of a second, as behind a seek,
 * the stream goes on where it stood.
 *
 * Returns QMIO_PACKET_VIDEO or QMIO_PACKET_AUDIO when the packet was written, QMIO_PACKET_OTHER when there is none or the
 * file has no stream for it, -1 for a null handle, or a negative FFmpeg error. Output is buffered: a full disk shows
 * some packets later. A file that is cancelled or cannot be completed can be played as far as its container allows; MP4
 * and MOV need to be completed, unless they are fragmented ("movflags=frag_keyframe").
 */
QMIO_API int qmio_copy_frame(MediaHandle* mux, MediaHandle* src);

/* ---- Closing ---------------------------------------------------------------------------------------------------- */

/*
 * Ends a handle of any kind and frees all that it holds. A file that is being written is completed first: the last
 * frame of every audio track is filled up with silence, the video encoder gives what it holds, the trailer is written.
 * (Of a file of qmio_mux_a or _w, the trailer alone.)
 * Returns 0, whatever became of that. Null does nothing.
 */
QMIO_API int qmio_close(MediaHandle* h);

/* Writes out what an output has buffered. Returns 1; 0 for a null or cancelled handle. */
QMIO_API int qmio_flush(MediaHandle* h);

/*
 * Abandons a source or an output, also while another thread's call on the handle is waiting for the network: that call
 * returns, then the source is closed, or the output as it is, without a trailer and without what is still buffered.
 * Returns 0. The handle stays and has to be closed, after that other call has returned; until then reading from it gives
 * its end. A read or write of a local file, pipe or device that the system itself has blocked ends only when the system
 * ends it. Not while qmio_close runs on the handle.
 */
QMIO_API int qmio_cancel(MediaHandle* h);

/* ---- Pictures --------------------------------------------------------------------------------------------------- */

/*
 * Everything in this section may be called from any thread at once, on different pictures.
 *
 * Converting and scaling. The target always stands before the source. The formats and sizes of both say what happens;
 * with equal sizes nothing is scaled. All return the rows written, the target's height when all went well, and 0 with
 * the target untouched when a record or data pointer is null, a record describes no picture (unknown format, hardware
 * format, size below 1, alignment that is no power of two) or FFmpeg has no such conversion (qmio_probe_cvt).
 *
 * `algorithm` is a value of FFmpeg's SWS_ flags (1 fast bilinear, 2 bilinear, 4 bicubic, 0x10 point, ...), or 0: then
 * pictures that are both BGRA go through the library's own linear scaler, whose rows lie line_size bytes apart in both
 * records and which gives the target's height, and all others through flags 1. The forms without that argument take
 * the configured //scale_alg as it stands, qmio_cvt takes a value below 1 as 1. qmio_scale_slice is another name of
 * qmio_scale, imio_scale of imio_cvt.
 *
 * The forms on bare buffers take their pictures with alignment 1, and on the linear way rows of width x 4 bytes.
 */
QMIO_API int imio_cvt(imio_picture* dst, const imio_picture* src);
QMIO_API int imio_scale(imio_picture* dst, const imio_picture* src);
QMIO_API int imio_scale_ex(imio_picture* dst, const imio_picture* src, int algorithm);
QMIO_API int qmio_cvt(void* dst, int dst_fmt, const void* src, int src_fmt, int width, int height);
QMIO_API int qmio_scale(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt,
                        int src_width, int src_height);
QMIO_API int qmio_scale_ex(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt,
                           int src_width, int src_height, int algorithm);
QMIO_API int qmio_scale_slice(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt,
                              int src_width, int src_height);

/*
 * Makes `dst` the planes of `src` from row y on, for working on a band of a picture. Planes 1 and 2 move by the rows
 * of chroma above row y, rounded up. A plane that is null in `src` becomes null in `dst` and keeps its line size there.
 * `dst` may be `src`. With an unknown format an error is written to the console and the log, and `dst` stays as it was.
 */
QMIO_API void qmio_surf_slice(int fmt, qmio_planes* dst, const qmio_planes* src, int y);

/* 1 when bands can be cut from pictures of the format, 0 for formats with a palette, of hardware and unknown
 * ones, and for the five of 8 bits and less that used to have a palette made up: gray and packed RGB and BGR. */
QMIO_API int qmio_is_sliceable(int fmt);

/*
 * Not 0 when one format can be converted into another. With a source of -1 it asks only whether anything can be
 * converted into the target; with a target of -1 only whether the source can be converted into anything.
 */
QMIO_API int qmio_probe_cvt(int dst_fmt, int src_fmt);

/*
 * FFmpeg's av_image_fill_arrays, sws_getContext, sws_scale and sws_freeContext, with formats as qmio_fmtid gives them.
 * qmio_image_fill_arrays returns the bytes of the whole picture or a negative error; `src` may be null then, to ask
 * for the size alone. qmio_sws_getContext returns null where there is no such conversion; the host owns the context,
 * uses it on one thread at a time and frees it with qmio_sws_freeContext, which takes null too. Unlike the calls
 * above, qmio_sws_scale is FFmpeg's bare call: it may write and read up to 64 bytes beyond rows that are not aligned
 * to 64 bytes, and wants planes that are aligned to 16. It returns the rows written, 0 for a null context.
 */
QMIO_API int qmio_image_fill_arrays(uint8_t* dst_data[4], int dst_linesize[4], const uint8_t* src, int fmt, int width,
                                    int height, int align);
QMIO_API SwsContext* qmio_sws_getContext(int src_w, int src_h, int src_fmt, int dst_w, int dst_h, int dst_fmt,
                                         int flags, SwsFilter* src_filter, SwsFilter* dst_filter, const double* param);
QMIO_API int qmio_sws_scale(SwsContext* ctx, const uint8_t* const src[], const int src_stride[], int y, int height,
                            uint8_t* const dst[], const int dst_stride[]);
QMIO_API void qmio_sws_freeContext(SwsContext* ctx);

/*
 * Members of an FFmpeg frame: where a plane begins, the bytes between its rows, and the pixel format (of a frame of
 * sound the sample format). The plane belongs to the frame. Null, 0 and -1 for a null frame and a plane outside 0..7.
 */
QMIO_API uint8_t* qmio_get_frm_data(AVFrame* frame, int plane);
QMIO_API int qmio_get_frm_linesize(AVFrame* frame, int plane);
QMIO_API int qmio_get_frm_format(AVFrame* frame);

/*
 * The number of a pixel format by its name in FFmpeg's list, in full and in its spelling: "AV_PIX_FMT_BGRA" is 30. The
 * numbers are this library's own and stay the same whatever FFmpeg it is linked with; a format that is newer than they
 * are has 0x10000 plus FFmpeg's number and no name here. -1 for unknown names and for null.
 */
QMIO_API int qmio_fmtid(const char* name);

/* ---- Catalogue -------------------------------------------------------------------------------------------------- */

/*
 * What the linked FFmpeg can write and decode. Everything here only reads constant tables: any thread may call. The
 * objects and texts belong to FFmpeg or the library, and stay valid until the library is unloaded.
 */

/* All codecs, all formats that can be written, in FFmpeg's order. Null behind the last one and for null. */
QMIO_API const AVCodec* qmio_first_codec(void);
QMIO_API const AVCodec* qmio_next_codec(const AVCodec* codec);
QMIO_API const AVOutputFormat* qmio_first_format(void);
QMIO_API const AVOutputFormat* qmio_next_format(const AVOutputFormat* format);

/*
 * 1 when the codec is of a kind: "video", "audio", "data", "subtitle", "encoder", "decoder", in any case; when the
 * format by default holds "video" or "audio". Else 0, for null too.
 */
QMIO_API int qmio_is_codec(const AVCodec* codec, const char* kind);
QMIO_API int qmio_is_format(const AVOutputFormat* format, const char* kind);

/*
 * What a codec says of itself. Keys are case-sensitive.
 *   "name", or null   its name; copied into `buf` as well
 *   "format"          the pixel formats it takes, int32_t numbers of this interface, ended by -1
 *   "sample_fmts"     the sample formats it takes, FFmpeg's int numbers, ended by -1
 *   "sample_rates"    the sample rates it takes, int, ended by 0
 * buf   may be null; else it has room for 64 bytes and holds an empty text after any other key than the name.
 * Null when the codec does not say, for a null codec and for any other key.
 */
QMIO_API const void* qmio_get_codec_info(const AVCodec* codec, char* buf, const char* key);

/*
 * What a format is called. Key "name", exactly: its name, which is copied into `buf` (may be null) and returned. Any
 * other key, and null: "long name - name (*.ext;*.ext)" in `buf`, which is returned; null without a buffer. The
 * buffer has room for 1,024 bytes. Null for a null format.
 */
QMIO_API const char* qmio_get_format_info(const AVOutputFormat* format, char* buf, const char* key);

/*
 * Key "vcodec", in any case: the first codec, encoder or decoder, of the format's default video. Null for any other
 * key, for null and where there is no such codec.
 */
QMIO_API const AVCodec* qmio_get_format_prop(const AVOutputFormat* format, const char* key);

/*
 * What a pixel format is. Keys in any case:
 *   "descr"    a sentence; "Unknown format" for a number without one
 *   "name"     FFmpeg's name; null when there is none
 *   "luma"     not a text but a number, cast to the pointer: 1 planar YUV of 8 bits, 2 planar YUV of more, else 0
 *   "sample"   the name of the sample format with this number; null when there is none
 *   "alpha"    "true" for formats with alpha; null for others
 * An empty text for any other key and for null.
 */
QMIO_API const char* qmio_get_pix_info(int fmt, const char* key);

/*
 * Looks something up by name; kinds are case-sensitive. "codec" and "decoder", "encoder": an AVCodec. "fmt", "ofmt": an
 * input format, an AVOutputFormat. 0 when there is none of that name. "pix": a pixel format. "sample_fmt": FFmpeg's
 * number of a sample format. "sample_bits": its code as for qmio_set_dst_audio, 0 when there is none of that name. -1
 * for an unknown pixel or sample format, any other kind and null.
 */
QMIO_API intptr_t qmio_get_id(const char* name, const char* kind);

/* Bytes of a picture with rows aligned to 16 bytes; negative when there is no such picture. */
QMIO_API int qmio_get_bufsize(int fmt, int width, int height);

/*
 * The filter text of a Windows file dialog: pairs of texts, each ended by a NUL, the whole by one more. Kinds, in any
 * case: "sup", "supported"; "pic", "picture", "img", "image"; "vid", "video"; "aud", "audio"; "all" for all of them;
 * any other gives "All Files" alone.
 *
 * buf   may be null: only the size is wanted.
 * Returns the bytes that the text takes, all NULs counted.
 */
QMIO_API int qmio_get_ext(char* buf, const char* kind);

/* ---- Parameters ------------------------------------------------------------------------------------------------- */

/*
 * Texts about a file, by keys in any case:
 *   "ver", "build"         the library's version, and when it was compiled as twelve digits; need no handle
 *   "fmt", "fdescr"        name and description of the container that is read
 *   "ofmt", "ofdescr"      of the container that is written
 *   "codec", "cdescr"      of the video decoder
 *   "acodec", "acdescr"    of the first track's decoder
 *   "pix", "pdescr"        of the decoded pictures' pixel format
 * An empty text for any other key and for what there is not; null for a null handle. Valid until the handle is closed.
 */
QMIO_API const char* qmio_get_file_info(MediaHandle* h, const char* key);

/*
 * Numbers about a file, by keys in any case. In a writer the keys of decoders are 0, "pix" is -1, and the keys of tracks
 * tell of the encoders. -1 for a null handle and an unknown key. Pointers come as numbers; what
 * they point to is the handle's. Those marked with a star qmio_get_stream_param answers, too. More keys of both stand
 * under "More about a file".
 *
 *   "check"                       0 while the file is open, -1 after qmio_cancel
 *   "error"                       0, or -1 when the last packet could not be read because nothing is open
 *   "write_error"                 FFmpeg's negative number of the first error of encoding, writing or flushing; 0 for
 *                                 none and for a source
 *   "width", "height" *           size of the pictures in pixels; 0 without video
 *   "frames" *                    number of video frames by the source's own word; 1 for a still picture and
 *                                 when unknown
 *   "nvideo", "naudio" *          video streams, audio tracks
 *   "video", "audio" *            stream index of the video and of the first audio track; -1 for none
 *   "fmt" *                       FFmpeg's input format
 *   "codec", "acodec" *           AVCodec of the video decoder and of the first track's; 0 for none
 *   "pix" *                       pixel format of the decoded pictures; -1 without video
 *   "start" *                     frame number that the file's start time code stands for; 0 without one
 *   "interlace", "top_field" *    whether the picture decoded last is interlaced, its top field first; -1 before any
 *   "dts_frame"                   number of the frame decoded last; -1 for none
 *   "sample_rate", "audio_rate"   Hz: of the first track in the file (0 without one), as delivered
 *   "sample_fmt_id", "audio_fmt_id"   the same for sample formats, FFmpeg's numbers (-1 without a track)
 *   "sample_fmt", "audio_fmt"     the same as codes of qmio_set_dst_audio (0 without a track)
 *   "channels", "audio_channels"  channels of all tracks together, in the file and as delivered
 *   "align" *                     bytes that the first track's codec works in; 0 without one
 *   "packet" *                    stream index of the packet read last
 *   "xfmt", "xvcodec", "xacodec", "xvstream"   FFmpeg's contexts of the container, the video decoder and the first
 *                                 track, and the video stream; 0 for none
 *   "audio_map"                   the channel map: int32_t per user channel, 64 of them
 *   "vb", "ab"                    bits per second of the video and of the first audio track; 0 when unknown
 */
QMIO_API int64_t qmio_get_file_param(MediaHandle* h, const char* key);

/*
 * Numbers about the streams, by keys in any case. -1 for a null handle and an unknown key. `track` counts only for the
 * keys of sound, which give 0 for a track that there is not, and for "set_gop".
 *
 *   "vpts"                        pts of the picture decoded last in its stream's time base, 0 before any,
 *                                 QMIO_UNKNOWN_TIME when unknown; in a writer the number of the next picture
 *   "apts"                        the same for the track's sound decoded last; in a writer the track's next sample
 *   "frame_type"                  letter of the picture decoded last ('I', 'P', 'B'), '?' before any
 *   "frame_num"                   number of the picture decoded last by its time, or by that of the packet read last
 *   "audio", "acodec", "align"    as for qmio_get_file_param, of the track
 *   "gop", "set_gop"              a number that the handle keeps for the host, 12 at first; sets it to `track` and
 *                                 returns what it was
 *   "frame_pos"                   byte position in the file; -1 where there is none
 *   "pkt_size"                    bytes of the packet read last
 *   "par", "sar", "dar"           1000 x the aspect ratio of pixels by the decoder, of pixels by the container, of the
 *                                 picture; 0 when unknown
 *   "sample_rate", "file_sample_rate"       Hz: of the track in the file
 *   "audio_rate", "user_sample_rate"        as delivered
 *   "sample_fmt_id", "file_sample_format"   sample format in the file, FFmpeg's number
 *   "audio_fmt_id", "user_sample_format"    as delivered
 *   "sample_fmt", "file_sample_fmt"         sample format in the file, a code of qmio_set_dst_audio
 *   "audio_fmt", "user_sample_fmt"          as delivered
 *   "channels", "file_channels"             channels in the file
 *   "audio_channels", "user_channels"       as delivered
 */
QMIO_API int64_t qmio_get_stream_param(MediaHandle* h, const char* key, int track);

/*
 * Times, by keys in any case. The record is cleared first, for a null handle too, and filled as far as the key says.
 *   "video"    start, duration, time base, frame rate (25/1 when nothing is known), container times, frame count
 *   "audio"    the same for the first track, without rate and count
 *   "packet"   of the packet read last: pts, dts, duration; start, time base and rate of its stream
 *   "seek"     the position of the last qmio_seek_frame or qmio_seek_frame_ex by time in microseconds, in `start`;
 *              returns 0
 *   "key"      fills nothing; returns 1 when the packet read last is a key packet
 *   "dur"      fills nothing; returns the number of published frame positions
 * rec   may be null for the last three.
 * Returns 1 when the record was filled; 0 for null, an unknown key and what there is not.
 */
QMIO_API int qmio_get_time_param(MediaHandle* h, const char* key, qmio_time_param* rec);

/*
 * "packet" writes pts and dts of the record into the packet read last. "video" and "audio" fill the record as above,
 * but with nothing that the file does not say itself. Returns 1; 0 for null, an unknown key and what there is not. A
 * null handle and an unknown key clear the record, too.
 */
QMIO_API int qmio_set_time_param(MediaHandle* h, const char* key, qmio_time_param* rec);

/*
 * The time code of a frame: hours, minutes, seconds and frames, a byte each, from the highest to the lowest. Counted
 * from frame 0 at the video's frame rate; no frame number is dropped, and at 30000/1001 the seconds are those of the
 * clock, so that some have a frame 30. Hours go on beyond 24. -1 for null and without video or frame rate.
 */
QMIO_API int qmio_get_smpte(MediaHandle* h, int frame);

/* ---- Pixel formats as data -------------------------------------------------------------------------------------- */

/*
 * The numbers of the common formats, as qmio_fmtid gives them, for hosts without FFmpeg's headers. Set while the
 * library loads; hosts only read them. FFmpeg's headers have enumerators of the same names: where they came first the
 * integers are not declared, and a host that includes them afterwards defines QMIO_NO_PIX_FMT_DATA.
 */
#if !defined(QMIO_NO_PIX_FMT_DATA) && !defined(AVUTIL_PIXFMT_H)
QMIO_API extern int32_t AV_PIX_FMT_NONE, AV_PIX_FMT_RGB32, AV_PIX_FMT_GRAY8, AV_PIX_FMT_YUYV422, AV_PIX_FMT_YUV420P,
    AV_PIX_FMT_BGR24, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_BGRA, AV_PIX_FMT_UYVY422, AV_PIX_FMT_ARGB,
    AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_NB, AV_PIX_FMT_0RGB, AV_PIX_FMT_ABGR, AV_PIX_FMT_0BGR, AV_PIX_FMT_RGB0,
    AV_PIX_FMT_BGR0;
#endif

/* ---- Options of opening that are the library's own -------------------------------------------------------------- */

/*
 * They stand among the others in the options of the open functions and are not handed to FFmpeg. Of a key that stands
 * there twice the last one counts; with a value that the key cannot have nothing is opened.
 *
 *   count=1      The video's packets are read once before the open function returns (twice where two pictures have the same
 *                time), without decoding, which takes about as long as a loop that only reads them. Then the pictures are numbered in the order in which they are
 *                shown: "frames" of qmio_get_file_param and the count of qmio_get_time_param "video" are exact, frame n is
 *                the n-th picture of reading in order, whatever its time, and qmio_seek_frame reaches each, also in files
 *                that tell neither times nor length: bare H.264 or HEVC, Matroska and WebM that were recorded live, some
 *                ASF. A file whose demuxer cannot be positioned is read from its start at every seek.
 *                Packets that bring no picture do not count: hidden and discarded ones, second fields, what cannot be
 *                decoded at the start of a stream that was cut. A packet too damaged to be decoded does: its number gives
 *                the picture behind it. Times stay as they are; qmio_fifo_frame and qmio_get_smpte go by the rate.
 *                Ignored where a source cannot go back (most network streams, pipes, devices, HLS), for pictures in
 *                files of their own and while another process publishes the frame
 *                positions of the file. count=0 is the default.
 *   matrix=file  Pictures in YUV become RGB by the matrix and the range that the file tells of each. What it does not tell
 *                stays as by default: BT.601 and, but for formats that are full by themselves (YUVJ), limited range, which
 *                makes the colours of an untold BT.709 slightly wrong. What is delivered as YUV or gray is as in the file.
 *                matrix=default is the default.
 *   rotate=1     Pictures are delivered upright, as the display matrix of the video stream tells: turned by 0, 90, 180 or
 *                270 degrees, the nearest of these for other angles, and mirrored where it says so. "width" and "height",
 *                "par", "sar" and "dar" are those of the upright picture. Formats in which pixels of a row share their
 *                colours (4:2:2) are turned by 90 degrees with a colour for each. Packets, the decoder and remuxing are
 *                as they were. rotate=0 is the default.
 */

/* ---- Additions: why calls fail, UTF-8, cancelled opens, finishing, messages ------------------------------------- */

/*
 * Why the last call of this thread failed: one of opening, creating, remuxing, reading, decoding, seeking, writing,
 * finishing or closing that gave its failure value. Asking forgets it; calls that go well do not.
 *
 *     MediaHandle* media = qmio_open_u8(name, NULL);
 *     char reason[512];
 *     if (media == NULL && qmio_why(reason, sizeof reason) != 0)
 *         fprintf(stderr, "%s\n", reason);        "cannot open a.mp4: No such file or directory"
 *
 * buf    receives a UTF-8 text with its NUL: what could not be done with which file, the step that failed and its cause,
 *        FFmpeg's last message about it in brackets; then what else was of no use to the call ("unused options: presett,
 *        foo", "option vcodec: no encoder is called nonsense"). An empty text when there is nothing to tell. May be null.
 * size   bytes of `buf`. A text that does not fit is cut behind its last whole character; 2,048 bytes hold any. 0 and
 *        less: nothing is written.
 * Returns FFmpeg's negative number of the cause, which for errors of the system is minus errno; 0 when nothing failed since
 * the last asking. The text may then still tell what a creation or an open that went well did without: options that
 * nothing took, sound that cannot be decoded.
 * The end of a source is no failure, nor is an encoder that wants more pictures first. qmio_close tells here what became of
 * the trailer and the last bytes, though it returns 0. Each thread knows its own failures alone.
 */
QMIO_API int qmio_why(char* buf, int size);

/*
 * qmio_open_ex_a, qmio_create_ex_a and qmio_mux_a with names and options in UTF-8, on every system and whatever code pages
 * the system and the configuration name. A name is at most 1,023 bytes long and is handed on as it is. Names and options
 * that are not UTF-8 are refused. `options` may be null.
 */
QMIO_API MediaHandle* qmio_open_u8(const char* name, const char* options);
QMIO_API MediaHandle* qmio_create_u8(const char* name, const char* options, uint32_t flags);
QMIO_API MediaHandle* qmio_mux_u8(const char* file, const char* options, MediaHandle* video_src,
                                  MediaHandle* audio_src);

/*
 * Ends an open that another thread is in. The option "cancel" of any open gives it a number above 0, of the host's choice
 * ("cancel=17"); from then on until it returns, qmio_cancel_open(17) makes it return null within a fifth of a second where
 * it waits for a network, and otherwise as soon as it reads on. What the system alone can end is left to it, as for
 * qmio_cancel: the look-up of a host's name, a pipe that nobody writes to.
 * The option "open_timeout" ends the whole open by itself after so many seconds ("open_timeout=2.5"; 0: never), unlike
 * "timeout", which a source that sends a little now and then never comes to.
 * Neither option is FFmpeg's, nor is it handed to it. With any other value the open fails. qmio_why tells AVERROR_EXIT of
 * the first and minus ETIMEDOUT of the second.
 *
 * Returns 1 when opens of this number were under way, all of which return null then; 0 when there was none. Any thread may
 * call, at any time.
 */
QMIO_API int qmio_cancel_open(int64_t id);

/*
 * Completes a file that is being written, as qmio_close does, and tells what became of it: the video encoder is drained, the
 * trailer is written, everything is flushed, the output is closed; a memory target gets its header. qmio_close then only
 * frees the handle.
 *
 *     int result = qmio_finish(file);
 *     qmio_close(file);
 *
 * Returns 0 when the whole file was written, else FFmpeg's negative number of the first error since it was made, the same
 * as the key "write_error" of qmio_get_file_param; again the same when it is called again. AVERROR(EINVAL) for null and for
 * a source, AVERROR_EXIT after qmio_cancel. Calls that write fail afterwards: pictures and packets with AVERROR_EXIT or
 * null, sound with QMIO_TRACK_NO_STREAM.
 */
QMIO_API int qmio_finish(MediaHandle* h);

/* Levels of messages, the names of the configuration's key "log". */
enum {
    QMIO_LOG_QUIET = -8,
    QMIO_LOG_PANIC = 0,
    QMIO_LOG_FATAL = 8,
    QMIO_LOG_ERROR = 16,
    QMIO_LOG_WARNING = 24,
    QMIO_LOG_INFO = 32,
    QMIO_LOG_VERBOSE = 40,
    QMIO_LOG_DEBUG = 48,
    QMIO_LOG_TRACE = 56 /* the library's own lines */
};

/*
 * Takes a message: `level` a QMIO_LOG_ number, `text` UTF-8 without the end of its line, valid during the call. Any thread
 * may call it, also FFmpeg's own and several at once. It may call the library, whose messages about that are dropped. It
 * must not throw.
 */
typedef void (*qmio_log_callback)(void* opaque, int level, const char* text);

/*
 * From now on this process's messages go to the host, and no longer to standard error and to the log file: FFmpeg's up to
 * `level`, whatever the configuration says, and the library's own lines, for which the configuration's trace switches
 * count alone. A null callback gives them back to where the configuration sends them.
 *
 * When it returns the callback that was set before is no longer being called, and never will be; only where that callback
 * itself makes this call, it returns first. No lock that the callback waits for may be held.
 * Returns 1; 0 when memory is short, and then nothing has changed. Any thread may call.
 */
QMIO_API int qmio_set_log(qmio_log_callback callback, void* opaque, int level);

/* ---- Containers in the host's own bytes --------------------------------------------------------------------------- */

/*
 * A host's reading. qmio_read_bytes copies up to `size` bytes (above 0) from where the source stands into `buf` and returns
 * how many: fewer than asked are no end. 0 is the end of the source, QMIO_BYTES_AGAIN nothing yet: it is asked again, a
 * millisecond later and for 30 seconds at most. Any other negative result is an error, which ends reading there.
 *
 * qmio_seek_bytes moves to `offset` bytes from the start (whence 0) or from the end (2) and returns the new position
 * counted from the start, or a negative result where it cannot. With QMIO_BYTES_SIZE it returns the size and stays where
 * it is; a negative result there means that the size is not known.
 *
 * opaque   what qmio_open_io was given
 * Both are called by the thread that is inside a call on the handle, and by the library's own while packets are read ahead
 * (qmio_fifo_ts, qmio_fifo_frame); never by two at once. They must not throw and not call anything on the handle.
 */
typedef int(qmio_read_bytes)(void* opaque, void* buf, int size);
typedef int64_t(qmio_seek_bytes)(void* opaque, int64_t offset, int whence);

enum { QMIO_BYTES_AGAIN = -11, QMIO_BYTES_INTERRUPTED = -4, /* the same */ QMIO_BYTES_SIZE = 0x10000 };

/*
 * Opens a container of any kind for reading that the host has in memory, or reads by calls of its own. From there on it is
 * like a file: it is sought, by frames and by times, exactly as one.
 *
 * data, size   the block. It stays the host's, unchanged until the close. Negative sizes are refused.
 * read         must not be null
 * seek         null where the source cannot go back: what is read from front to back can be opened then (MPEG-TS, Matroska,
 *              WAV, fragmented MP4, an MP4 whose index comes first), and seeking fails
 * opaque       handed to both as it is; what it points to has to live until qmio_close has returned, and until a reading
 *              that waits then has returned, too
 * options      as for qmio_open_ex_a. Such a source has no name by which FFmpeg could tell what it does not see from the
 *              bytes: "fmt" names the demuxer (raw pictures and sound: "fmt=s16le,sample_rate=48000"; FFmpeg's names, as
 *              "mpegts"). A demuxer that opens files itself is refused.
 *
 * What such a source names (the parts of a playlist, other files) is not opened; the trace of opening tells what was
 * refused, as FFmpeg's messages do.
 * Returns the handle or null, as qmio_open_a. Nothing of the host's is kept where it is null.
 */
QMIO_API MediaHandle* qmio_open_mem(const void* data, int64_t size, const char* options);
QMIO_API MediaHandle* qmio_open_io(qmio_read_bytes* read, qmio_seek_bytes* seek, void* opaque, const char* options);

/* ---- Sound by position ------------------------------------------------------------------------------------------ */

/* What qmio_read_sound came to when it is below 0. */
enum {
    QMIO_SOUND_NO_TRACK = -1,  /* a null handle, one that writes, or no such track that can be decoded */
    QMIO_SOUND_BAD_RANGE = -2, /* a negative number, or more than a buffer can hold */
    QMIO_SOUND_NO_ROOM = -3,   /* `size` is too small */
    QMIO_SOUND_NO_FORM = -4,   /* what was chosen with qmio_set_dst_audio cannot be made of this track */
    QMIO_SOUND_NO_SOURCE =
        -5,                /* the source cannot be opened a second time: a pipe, a device, qmio_open_io without seeking;
                                  or the handle was cancelled */
    QMIO_SOUND_FAILED = -6 /* memory is short, or the source is no longer what it was */
};

/*
 * Reads samples of a track by their position: exactly those that decoding the whole track from its start gives there,
 * whatever was read before, whatever container and codec it is.
 *
 * track     0 to 15; it need not be the chosen one
 * start     the first sample, counted from 0 at the start of the track, in the rate in which it is delivered. What the
 *           container says of samples that an encoder put in front, of edit lists and of the end is heeded; a track that
 *           begins later than the pictures still begins with 0.
 * samples   how many, each of all channels
 * buf       receives them in the form that qmio_set_dst_audio chose for this track, without that in the track's own
 *           (qmio_get_stream_param "user_..."). Packed: frame after frame. Planar: plane after plane without gaps, each as
 *           long as the result says. The channel map is not asked. Null: nothing is read.
 * size      bytes that `buf` has
 *
 * Returns the samples delivered: fewer than asked at the end of the track, 0 behind it. With a null `buf` the bytes that
 * `samples` take. Below 0 a QMIO_SOUND_ code.
 *
 * For this the source is opened once more, for each track that is asked for, and the handle's own reading and seeking stay
 * where they are: both can be mixed as wanted, also while packets are read in the background. Each track goes on from where
 * it stands; reading on in order never begins anew. Positions are counted by decoding: to hear for the first time what lies
 * far ahead, all that lies before it is decoded (hundreds of times faster than it plays); after that a position costs a
 * seek and less than a second of decoding. Where the decoder's sound depends on all that it decoded before (AAC with noise,
 * AC-3, some kinds of ADPCM), going back decodes from the start. About 5 bytes are kept for each 1,000 samples.
 *
 * At another rate than the track's the samples are those of resampling the whole; 16-bit ones may differ by 1. Of a track
 * whose rate changes on its way the first counts for all. Of a source that grows what is there when its end is met counts.
 */
QMIO_API int qmio_read_sound(MediaHandle* h, int track, int64_t start, int samples, void* buf, int size);

/* ---- More about a file ------------------------------------------------------------------------------------------ */

/*
 * The parts of a file that texts and numbers are asked of: the container, its video, or a track of its sound by its number
 * (0 to 15).
 */
enum { QMIO_CONTAINER = -1, QMIO_VIDEO = -2 };

/*
 * A text about a part of a file that is read or written. Keys in any case:
 *
 *   of the container   "format", "format_long"   FFmpeg's name of the container ("mov,mp4,m4a,3gp,3g2,mj2") and a description
 *                      "timecode"                time code of the first frame, as qmio_timecode gives it; in a file without
 *                                                video the tag as it stands
 *   of video, tracks   "codec", "codec_long"     the codec, whichever decoder reads it ("h264"), and a description
 *                      "codec_tag"               its four characters in the container, in the form of "avc1" or "[27][0][0][0]"
 *                      "profile"                 "High 4:2:2", "LC"; a number where it has no name
 *   of video           "pix_fmt"                 pixel format, FFmpeg's name
 *                      "field_order"             "progressive"; "tt", "bb" (coded and shown top, bottom field first), "tb",
 *                                                "bt" (coded so, shown the other way round)
 *                      "color_primaries", "color_transfer", "color_space", "color_range", "chroma_location"   FFmpeg's names
 *                                                ("bt709"; range "tv" or "pc"; location "left")
 *                      "timecode"                as of the container
 *   of a track         "sample_fmt"              sample format, FFmpeg's name
 *                      "channel_layout"          "stereo", "5.1(side)"
 *                      "timecode"                the track's own tag as it stands
 *   of each            "tags"                    the keys of the tags (metadata) that the part has, a line each
 *                      "tag:KEY"                 the tag of this key
 *                      any other key             the tag of this key: "title", "language", "creation_time", "artist"
 *
 * What a file does not tell is not known, and nothing is guessed. Where tags stand is the container's habit: those of a
 * whole Ogg file are its track's. In a file that is written the answers are about what was asked for.
 *
 * track   QMIO_CONTAINER, QMIO_VIDEO or the number of a track
 * buf     `size` bytes for the text in UTF-8 with its NUL; what does not fit is left out, whole characters at a time. May
 *         be null. Where nothing is known it holds an empty text. Bytes of a tag that are no UTF-8 are replaced.
 * Returns the bytes of the whole text without its NUL; -1 when nothing is known: for a null handle or key, a part that there
 * is not, a key that it has not, and after qmio_cancel.
 */
QMIO_API int qmio_get_text(MediaHandle* h, int track, const char* key, char* buf, int size);

/* What "frames" of qmio_get_file_param goes by: the answers to "frames_origin". */
enum {
    QMIO_FRAMES_UNKNOWN = 0,  /* nothing: the file tells no length or no rate, or is written */
    QMIO_FRAMES_COMPUTED = 1, /* length times frame rate */
    QMIO_FRAMES_TOLD = 2,     /* the same, and the container tells this number, too */
    QMIO_FRAMES_COUNTED = 3   /* the packets were counted */
};

/*
 * Further keys of qmio_get_file_param and qmio_get_stream_param, in any case. The first five are about a part: the container
 * or, for the latter function, `track` as for qmio_get_text. A part that there is not knows nothing.
 *
 *   "duration_us", "start_us"   length and first time in microseconds; QMIO_UNKNOWN_TIME when unknown
 *   "bit_rate"                  bits per second; 0 when unknown
 *   "bits_per_raw_sample"       bits of each colour or sample that the codec tells; 0 when it does not. Without a part: of the
 *                               video
 *   "channel_mask"              which speakers the channels are for, FFmpeg's AV_CH_ bits; 0 for other layouts, for unknown
 *                               ones and for all but tracks. Without a part: of track 0
 *
 * The rest is about the video, whatever the part. Both numbers of a ratio are 0 when it is unknown.
 *
 *   "frame_rate_num", "frame_rate_den"   pictures a second: 30000 and 1001
 *   "sar_num", "sar_den"                 width and height of a pixel: the container's word, else the codec's
 *   "rotation"                           degrees clockwise, 0 to 359, by which the pictures have to be turned to be upright
 *                                        (they are delivered as they are stored)
 *   "frames_origin"                      a QMIO_FRAMES_ value
 */

/*
 * The SMPTE time code of a frame: "10:00:36:00", or "01:00:00;02" in drop-frame counting. It is counted from the time code
 * that the file has: that of its video or its time code track, else the container's, else the first of any other stream, else
 * the one in the first GOP of MPEG-1 and MPEG-2, which is known once the first picture was decoded; a file that has none, or one that is no time code, counts from 00:00:00:00. As many numbers make a second
 * as the frame rate rounded to a whole number, so that hours of time code are a little longer than those of the clock at
 * 24000/1001. Where the file's time code is in drop-frame (its last mark is no colon) and that number is a multiple of 30, two
 * numbers for each 30 are left out at the beginning of each minute but every tenth. Behind 23:59:59 follows 00:00:00. Frames
 * have two digits, above 100 numbers a second three.
 *
 * frame   counted from 0 at the file's first frame; a negative one lies before it
 * buf     as for qmio_get_text; 24 bytes hold every time code
 * Returns the bytes of the text without its NUL; -1 for a null handle, without video, where the frame rate is unknown or below
 * one frame in two seconds, and after qmio_cancel.
 */
QMIO_API int qmio_timecode(MediaHandle* h, long long frame, char* buf, int size);

#ifdef __cplusplus
}
#endif

#endif
