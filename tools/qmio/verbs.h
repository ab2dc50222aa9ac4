// The verbs of the command line. Each function adds one to `app`: its options, its help and the work behind it, which
// throws a Failure when it cannot be done.
#pragma once

namespace CLI {
class App;
}

namespace host {

void add_info(CLI::App& app);
void add_frames(CLI::App& app);
void add_sheet(CLI::App& app);
void add_audio(CLI::App& app);
void add_wave(CLI::App& app);
void add_convert(CLI::App& app);
void add_remux(CLI::App& app);
void add_make(CLI::App& app);
void add_formats(CLI::App& app);
void add_codecs(CLI::App& app);
void add_pixel_formats(CLI::App& app);
void add_play(CLI::App& app);
void add_timecode(CLI::App& app);

}  // namespace host
