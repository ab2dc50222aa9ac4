#include "png.h"

#include "output.h"

namespace host {

void write_png(const std::string& name, Picture& picture) {
    Output file(name, "fmt=image2pipe,vcodec=png,pix=rgba,size=" + std::to_string(picture.width()) + "x" +
                          std::to_string(picture.height()));
    imio_picture record = picture.record();
    file.write(record);
    file.close();
}

}  // namespace host
