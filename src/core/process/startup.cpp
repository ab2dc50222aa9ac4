// What loading and unloading the library does. It runs under the loader's lock: no waiting, no threads, no libraries.
#include "core/process/ffmpeg_log.h"
#include "core/process/host_log.h"
#include "core/process/pixel_constants.h"
#include "core/process/settings.h"
#include "ffmpeg/catalogue.h"
#include "ffmpeg/codec_lookup.h"
#include "ffmpeg/ffmpeg.h"
#include "ffmpeg/open_holes.h"
#include "platform/leftovers.h"
#include "platform/load_notification.h"
#include "platform/loaded_library.h"
#include "platform/never_destroyed.h"
#include "platform/system.h"
#include "platform/thread_block.h"
#include "qmlib/sinks.h"

namespace qmio {
namespace {

constinit platform::NeverDestroyed<Settings> current;
constinit int level_before = AV_LOG_INFO;  // FFmpeg's level as this library found it

std::string log_path(const qmlib::XmlDatabase* database, const std::string& library_path) {
    if (database != nullptr) {
        if (std::string configured = database->value("//log_file"); !configured.empty())
            return configured;
    }
    if (std::string given = platform::environment("QMIO_LOG"); !given.empty())
        return given;
    return library_path.empty() ? std::string() : library_path + ".log";
}

void apply_vetoes(const qmlib::XmlDatabase& database) {
    for (const std::string& name : database.values("decoder"))
        ffmpeg::veto_decoder(name.c_str());
    for (const std::string& name : database.values("encoder"))
        ffmpeg::veto_encoder(name.c_str());
}

void configure(Settings& settings) {
    const std::string library_path = platform::module_path();
    const std::string path = configuration_path(library_path);
    settings.codec_mutex = platform::NamedMutex::open(codec_mutex_name(path));
    settings.database = qmlib::XmlDatabase::read(path);
    ffmpeg::veto_open_holes(settings.database != nullptr ? settings.database->values("unsafe_decoder")
                                                         : std::vector<std::string>());
    if (settings.database != nullptr) {
        apply_vetoes(*settings.database);
        apply_configuration(*settings.database, settings);
    }
    if (settings.log_to_file != 0)
        qmlib::set_log_path(log_path(settings.database.get(), library_path));
}

void configure_ffmpeg(const Settings& settings) {
    // libavformat keeps pointers into libavdevice from here on. A host that uses libavformat itself would follow them
    // after libavdevice had left the process together with this library.
    avdevice_register_all();
    platform::keep_loaded(avdevice_configuration());
    if (settings.ffmpeg_log == 0)
        return;
    level_before = av_log_get_level();
    av_log_set_level(settings.log_level);
    av_log_set_callback(log_ffmpeg_message);
}

using LogCallback = void (*)(void*, int, const char*, va_list);

LogCallback ffmpegs_own_log_callback() {
    const auto stub = reinterpret_cast<platform::Function>(av_log_default_callback);
    return reinterpret_cast<LogCallback>(
        platform::function_of_library(avutil_configuration(), "av_log_default_callback", stub));
}

// FFmpeg may outlive this library in the process: the callback's code is about to go, and the level was ours. FFmpeg does not
// tell whose callback there was before; one that was set since then stays.
void give_log_back() {
    if (current.value.ffmpeg_log == 0)
        return;
    if (takes_ffmpeg_messages())
        av_log_set_callback(ffmpegs_own_log_callback());
    if (av_log_get_level() == current.value.log_level)
        av_log_set_level(level_before);
}

void attach_library() {
    platform::reserve_thread_blocks();
    try {
        configure(current.value);
    } catch (...) {
        // No failure stops the load: what was not reached keeps its default.
    }
    platform::remove_leftovers();
    configure_ffmpeg(current.value);
    fill_pixel_format_constants();
}

void detach_library() {
    set_host_log(nullptr, nullptr, 0);
    give_log_back();
    current.value = Settings();
    ffmpeg::clear_vetoes();
    ffmpeg::forget_pixel_formats();
    qmlib::close_log();
    platform::give_up_thread_blocks();
}

const platform::LoadNotification notification(attach_library, detach_library, "qmio_close");

}  // namespace

const Settings& settings() {
    return current.value;
}

}  // namespace qmio
