#include "png.h"

#include <optional>

#include "output.h"
#include "platform/console.h"

namespace host {

void write_png(const Target& target, Picture& picture) {
    // The library tells of every encoder which options were left over; a picture has no options. A failure is an
    // exception, with the reason in it.
    std::optional<qmio::platform::QuietErrors> quiet(std::in_place);
    Output file(target, "fmt=image2pipe,vcodec=png,pix=rgba,size=" + std::to_string(picture.width()) + "x" +
                            std::to_string(picture.height()));
    quiet.reset();
    imio_picture record = picture.record();
    file.write(record);
    file.close();
}

}  // namespace host
