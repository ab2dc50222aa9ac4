// A host that ends its process while its threads are inside the library: most open and close, one reads, one writes,
// one reads in the background.
//   ending_host ENDING CALLS MEDIA FOLDER [LIBRARY]
// MEDIA is what they open and FOLDER where the film is written. Once every thread has made CALLS calls, the host tells
// how often MEDIA has been opened, and the process ends; ENDING says how: "return" from main, "exit" in another thread,
// "unload" the library in the destructor of a global. ending_linked_host is linked with the library, ending_host loads
// LIBRARY.
#include <qmio.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/dynamic_library.h"
#include "support/temp_dir.h"

namespace {

constexpr int kThreads = 7;
constexpr std::size_t kPictureBytes = 320 * 192 * 4;
constexpr const char* kFilm = "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=320x192,r=25,threads:v=1";

// What the threads use is plain data: they go on while this program's objects are being destroyed.
struct Library {
    decltype(&qmio_open_a) open;
    decltype(&qmio_create_a) create;
    decltype(&qmio_read_frame) read_frame;
    decltype(&qmio_seek_frame) seek_frame;
    decltype(&qmio_write_frame) write_frame;
    decltype(&qmio_fifo_ts) fifo_ts;
    decltype(&qmio_get_frame) get_frame;
    decltype(&qmio_close) close;
};

std::array<std::atomic<int>, kThreads> calls;
qmio::test::DynamicLibrary* loaded_library = nullptr;  // null: linked
std::unique_ptr<qmio::test::DynamicLibrary> unloaded_at_the_end;

#ifdef QMIO_TEST_HOST_IS_LINKED

bool get_library(const char*, Library& library) {
    library = {qmio_open_a,      qmio_create_a, qmio_read_frame, qmio_seek_frame,
               qmio_write_frame, qmio_fifo_ts,  qmio_get_frame,  qmio_close};
    return true;
}

#else

template <class Pointer>
void find(const char* name, Pointer& pointer) {
    pointer = loaded_library->function<std::remove_pointer_t<Pointer> >(name);
}

bool get_library(const char* path, Library& library) {
    loaded_library = new qmio::test::DynamicLibrary(qmio::test::path_of(path));
    find("qmio_open_a", library.open);
    find("qmio_create_a", library.create);
    find("qmio_read_frame", library.read_frame);
    find("qmio_seek_frame", library.seek_frame);
    find("qmio_write_frame", library.write_frame);
    find("qmio_fifo_ts", library.fifo_ts);
    find("qmio_get_frame", library.get_frame);
    find("qmio_close", library.close);
    return loaded_library->loaded();
}

#endif

void open_and_close(const Library& library, const std::string& media, std::atomic<int>& count) {
    for (;; ++count)
        library.close(library.open(media.c_str()));
}

void read(const Library& library, const std::string& media, std::atomic<int>& count) {
    MediaHandle* const reader = library.open(media.c_str());
    std::vector<uint8_t> picture(kPictureBytes);
    for (;; ++count) {
        library.seek_frame(reader, count % 5);
        library.read_frame(reader, picture.data());
    }
}

void write(const Library& library, const std::string& film, std::atomic<int>& count) {
    MediaHandle* const writer = library.create(film.c_str(), kFilm);
    const std::vector<uint8_t> picture(kPictureBytes);
    for (;; ++count)
        library.write_frame(writer, picture.data());
}

void read_in_background(const Library& library, const std::string& media, std::atomic<int>& count) {
    MediaHandle* const reader = library.open(media.c_str());
    library.fifo_ts(reader, 0, -1, 0, -1, 2147483647);
    for (;; ++count)
        library.get_frame(reader);
}

void wait_for_calls(int enough) {
    for (const auto& count : calls) {
        while (count < enough)
            std::this_thread::yield();
    }
}

}  // namespace

int main(int argc, char** argv) {
    Library library{};
    if (argc < 5 || !get_library(argv[5], library))
        return 2;
    const std::string ending = argv[1], media = argv[3], folder = argv[4];
    std::thread([=] { read(library, media, calls[0]); }).detach();
    std::thread([=] { write(library, folder + "/film.avi", calls[1]); }).detach();
    std::thread([=] { read_in_background(library, media, calls[2]); }).detach();
    for (auto count = calls.begin() + 3; count != calls.end(); ++count)
        std::thread([=] { open_and_close(library, media, *count); }).detach();
    wait_for_calls(std::atoi(argv[2]));
    std::cout << std::accumulate(calls.begin() + 3, calls.end(), 0) << std::endl;
    if (ending == "unload")
        unloaded_at_the_end.reset(loaded_library);
    if (ending == "exit")
        std::thread([] { std::exit(0); }).join();
    return 0;
}
