#include "platform/load_notification.h"

namespace qmio::platform {
namespace {

constinit LoadNotification::Routine detach_routine = nullptr;

__attribute__((destructor)) void unloading() {
    detach_routine();
}

}  // namespace

LoadNotification::LoadNotification(Routine attach, Routine detach) {
    detach_routine = detach;
    attach();
}

}  // namespace qmio::platform
