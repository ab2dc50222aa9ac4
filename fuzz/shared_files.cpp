// What lies in the folder of named objects under the names of a mutex and of an index: files of another process, of any
// size and content, links, folders and pipes. Nothing of it may bring us down or keep us waiting.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

#include "core/handle/frame_index.h"
#include "input.h"
#include "platform/leftovers.h"
#include "platform/named_mutex.h"
#include "platform/posix/shared_directory.h"
#include "platform/shared_mapping.h"

namespace {

using namespace qmio::platform;
using qmio::fuzz::Input;

constexpr int kMostSteps = 12;

struct Names {
    std::string object = "fuzz-" + std::to_string(::getpid());
    std::string mutex = shared_file_name(kMutexKind, object);
    std::string mapping = shared_file_name(kMappingKind, object);
};

void write_file(int folder, const char* name, const std::vector<uint8_t>& content, off_t size) {
    const Descriptor file(::openat(folder, name, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!file)
        return;
    if (::write(file.get(), content.data(), content.size()) >= 0)
        static_cast<void>(::ftruncate(file.get(), size) == 0);
}

void remove_any(int folder, const std::string& name) {
    if (::unlinkat(folder, name.c_str(), 0) != 0)
        ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

// Something of another process under this name, as long as nobody uses what stands there.
void put_anything(const std::string& name, Input& in, const std::vector<uint8_t>& content) {
    const Descriptor folder = open_shared_directory();
    if (!folder)
        return;
    remove_any(folder.get(), name);
    switch (in.below(6)) {
        case 0:
            ::mkdirat(folder.get(), name.c_str(), 0700);
            break;
        case 1:
            static_cast<void>(::symlinkat("/nowhere", folder.get(), name.c_str()) == 0);
            break;
        case 2:
            ::mkfifoat(folder.get(), name.c_str(), 0600);
            break;
        case 3:
            write_file(folder.get(), name.c_str(), content, static_cast<off_t>(in.bits(3)));
            break;
        default:
            write_file(folder.get(), name.c_str(), content, static_cast<off_t>(content.size()));
    }
}

struct Users {
    Names names;
    std::unique_ptr<NamedMutex> mutex;
    std::unique_ptr<SharedMapping> mapping;

    void use_mutex() {
        mutex = NamedMutex::open(names.object);
        if (mutex)
            const std::lock_guard inside(*mutex);
    }
    void use_mapping() {
        mapping = SharedMapping::open(names.object);
        const int64_t total = qmio::frame_index::frame_total(mapping.get());
        if (total > 0)
            qmio::frame_index::position(*mapping, total - 1);
    }
    void make_mapping(Input& in) {
        mapping = SharedMapping::create(names.object, 1 + in.bits(2));
        if (mapping)
            qmio::frame_index::enter(*mapping, in.wide_number(), in.wide_number());
    }
    void step(Input& in, const std::vector<uint8_t>& content) {
        switch (in.below(8)) {
            case 0:
                mutex.reset();
                break;
            case 1:
                mapping.reset();
                break;
            case 2:
                put_anything(names.mutex, in, content);
                break;
            case 3:
                put_anything(names.mapping, in, content);
                break;
            case 4:
                use_mutex();
                break;
            case 5:
                use_mapping();
                break;
            case 6:
                make_mapping(in);
                break;
            default:
                remove_leftovers();
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input in(data, size);
    Input steps = in.tail(100);
    const std::vector<uint8_t> content = in.rest();
    Users users;
    for (int count = 0; count < kMostSteps && !steps.is_empty(); ++count)
        users.step(steps, content);
    users.mutex.reset();
    users.mapping.reset();
    const Descriptor folder = open_shared_directory();
    if (folder) {
        remove_any(folder.get(), users.names.mutex);
        remove_any(folder.get(), users.names.mapping);
    }
    return 0;
}
