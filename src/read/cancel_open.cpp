#include "read/cancel_open.h"

#include <mutex>

#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"
#include "qmio.h"

namespace qmio::read {

namespace {

struct OpensUnderWay {
    platform::StaticMutex mutex;
    NamedOpen* first = nullptr;
};

constinit platform::NeverDestroyed<OpensUnderWay> opens;

}  // namespace

NamedOpen::NamedOpen(int64_t number, std::atomic<bool>& cancelled) : number_(number), cancelled_(cancelled) {
    if (number_ == 0)
        return;
    const std::lock_guard lock(opens.value.mutex);
    next_ = opens.value.first;
    opens.value.first = this;
}

NamedOpen::~NamedOpen() {
    complete();
}

bool NamedOpen::complete() {
    if (number_ == 0)
        return true;
    const std::lock_guard lock(opens.value.mutex);
    for (NamedOpen** place = &opens.value.first; *place != nullptr; place = &(*place)->next_) {
        if (*place != this)
            continue;
        *place = next_;
        break;
    }
    return !cancelled_;
}

bool cancel_open(int64_t number) {
    const std::lock_guard lock(opens.value.mutex);
    bool found = false;
    for (NamedOpen* open = opens.value.first; open != nullptr; open = open->next_) {
        if (open->number_ != number)
            continue;
        open->cancelled_ = true;
        found = true;
    }
    return found;
}

}  // namespace qmio::read

int qmio_cancel_open(int64_t id) {
    return qmio::read::cancel_open(id) ? 1 : 0;
}
