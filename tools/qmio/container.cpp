#include "container.h"

#include <qmio.h>

#include "failure.h"
#include "text.h"

namespace host {

namespace {

std::string extension_of(const std::string& name) {
    std::string extension = utf8_of(path_of(name).extension());
    return extension.empty() ? extension : extension.substr(1);
}

bool has_pattern(const AVOutputFormat* format, const std::string& extension) {
    char text[1024] = {};
    const std::string description = qmio_get_format_info(format, text, nullptr);
    return description.find("*." + extension + ";") != std::string::npos ||
           description.find("*." + extension + ")") != std::string::npos;
}

std::string first_container(const std::string& extension, bool for_video) {
    for (const AVOutputFormat* format = qmio_first_format(); format != nullptr; format = qmio_next_format(format))
        if ((!for_video || qmio_is_format(format, "video") != 0) && has_pattern(format, extension))
            return qmio_get_format_info(format, nullptr, "name");
    return "";
}

std::string container_for(const std::string& name) {
    std::string extension = extension_of(name);
    if (extension.empty() || qmio_get_id(extension.c_str(), "ofmt") != 0)
        return extension;
    const std::string container = first_container(extension, true);
    return container.empty() ? first_container(extension, false) : container;
}

}  // namespace

std::string container_of(const OptionList& options) {
    return options.value({"fmt", "f"});
}

void add_container(OptionList& options, const std::string& name) {
    if (container_of(options).empty())
        if (const std::string container = container_for(name); !container.empty())
            options.add_default("fmt=" + container);
    const std::string container = container_of(options);
    if (container.empty())
        throw Failure("the options", "name no container (fmt=mp4, for instance), nor does the name of " + name);
    if (qmio_get_id(container.c_str(), "ofmt") == 0)
        throw Failure(container, "is no container; see: qmio formats");
}

}  // namespace host
