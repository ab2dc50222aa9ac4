// A configuration file, and what its values are used for.
#include <qmio.h>

#include "core/process/settings.h"
#include "input.h"
#include "limits.h"
#include "platform/text.h"

namespace {

void use(const qmio::Settings& settings) {
    const std::wstring wide = qmio::platform::widen("a name \xC3\xA4\xFF.mp4", settings.code_page);
    qmio::platform::narrow(wide, settings.code_page);
    const std::vector<uint8_t> source(16 * 16 * 4);
    std::vector<uint8_t> target(24 * 8 * 4);
    qmio_scale_ex(target.data(), 30, 24, 8, source.data(), 30, 16, 16, settings.scale_algorithm);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    qmio::fuzz::limit_ffmpeg();
    const auto database = qmio::qmlib::XmlDatabase::parse(qmio::fuzz::Input(data, size).text());
    if (database == nullptr)
        return 0;
    qmio::Settings settings;
    qmio::apply_configuration(*database, settings);
    for (const char* name : {"decoder", "encoder"})
        database->values(name);
    for (const char* name : {"format", "codec"})
        database->options(name);
    database->value("//log_file");
    use(settings);
    return 0;
}
