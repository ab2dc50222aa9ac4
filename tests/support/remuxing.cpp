#include "support/remuxing.h"

#include <algorithm>
#include <sstream>

#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

namespace {

const Arguments kQuietly = {"-nostdin", "-v", "error", "-y", "-threads", "1"};

Outcome run_ffmpeg(const Arguments& more) {
    Arguments arguments = kQuietly;
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run("ffmpeg", arguments);
}

// From the first picture's time to the last one's, as far as they are told.
double seconds_shown(const std::filesystem::path& path) {
    const Outcome outcome = run("ffprobe", {"-v", "quiet", "-fflags", "+genpts", "-select_streams", "v:0",
                                            "-show_entries", "packet=pts_time", "-of", "csv=p=0", utf8(path)});
    double first = 1e9, last = -1e9;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with("N/A"))
            continue;
        first = std::min(first, std::stod(line));
        last = std::max(last, std::stod(line));
    }
    return std::max(last - first, 0.0);
}

}  // namespace

Media mux(const std::filesystem::path& path, const std::string& options, const Media& video, const Media& sound) {
    return Media(qmio_mux_w(wide_name(path).c_str(), std::wstring(options.begin(), options.end()).c_str(), video.get(),
                            sound.get()));
}

Copied copy_packets(const Media& mux, const Media& source, int most) {
    Copied copied;
    for (int packet = 0; packet < most && qmio_get_frame(source.get()) >= 0; ++packet) {
        const int result = qmio_copy_frame(mux.get(), source.get());
        if (result < 0) {
            copied.error = result;
            break;
        }
        copied.video += result == QMIO_PACKET_VIDEO ? 1 : 0;
        copied.sound += result == QMIO_PACKET_AUDIO ? 1 : 0;
        qmio_release_frame(source.get());
    }
    return copied;
}

bool remux(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& options) {
    const Media source = open_media(utf8(from), "fflags=+genpts");
    const Media copy = mux(to, options, source, source);
    return copy != nullptr && copy_packets(copy, source).error == 0;
}

bool remux_by_program(const std::filesystem::path& from, const std::filesystem::path& to,
                      const std::string& container) {
    return run_ffmpeg({"-fflags", "+genpts", "-i", utf8(from), "-map", "0:v:0", "-map", "0:a:0?", "-c", "copy", "-f",
                       container, utf8(to)})
               .exit_code == 0;
}

ProgramFrames program_frames(const std::filesystem::path& path) {
    const Outcome outcome = run_ffmpeg({"-noautorotate", "-i", utf8(path), "-map", "0:v:0", "-fps_mode", "passthrough",
                                        "-f", "framehash", "-hash", "murmur3", "-"});
    ProgramFrames frames;
    frames.complaints = outcome.error_text;
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("#") && !line.empty())
            frames.hashes.push_back(line.substr(line.rfind(',') + 1));
    frames.seconds = seconds_shown(path);
    return frames;
}

}  // namespace qmio::test
