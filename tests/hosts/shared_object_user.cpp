// A process that makes, uses, leaves and sweeps mappings and mutexes in a random order (arguments: a seed, the beginning
// of their names, a mapping that another process holds all the time). It says "busy" now and then, and ends when the
// mapping tells it to, or with 1 and a word about it when something was not as it must be. It may be killed at any moment.
#include <chrono>
#include <iostream>
#include <mutex>
#include <random>
#include <string>

#include "hosts/shared_churn.h"
#include "platform/leftovers.h"
#include "platform/named_mutex.h"
#include "platform/shared_mapping.h"

namespace {

using qmio::platform::NamedMutex;
using qmio::platform::SharedMapping;
using qmio::test::SharedChurn;

constexpr std::size_t kSize = 65536;
constexpr int kRoundsUntilWord = 20;

class User {
  public:
    User(unsigned seed, std::string names, std::string held)
        : random_(seed),
          slot_(seed % (kSize / sizeof(int64_t))),
          own_mark_(int64_t{seed} << 20),
          names_(std::move(names)),
          held_(std::move(held)) {}

    // What was not as it must be; empty in the end.
    std::string run() {
        for (int round = 0; wrong_.empty(); ++round) {
            const auto held = SharedMapping::open(held_);
            if (!held)
                return "the mapping that is held all the time was gone";
            auto& churn = *static_cast<SharedChurn*>(held->data());
            if (std::atomic_ref(churn.over).load() != 0)
                break;
            one_round(churn);
            std::atomic_ref(churn.rounds).fetch_add(1);
            if (round % kRoundsUntilWord == 0)
                std::cout << "busy" << std::endl;
        }
        return wrong_;
    }

  private:
    void one_round(SharedChurn& churn) {
        const std::string name = names_ + std::to_string(random_() % qmio::test::kChurnNames);
        switch (random_() % 5) {
            case 0:
            case 1:
                make_mapping(name);
                break;
            case 2:
                look_at_mapping(name);
                break;
            case 3:
                use_mutex(name, churn);
                break;
            default:
                qmio::platform::remove_leftovers();
        }
    }

    // Nobody else may lose it while we have it, and whoever comes then must get the same one.
    void make_mapping(const std::string& name) {
        const auto mine = SharedMapping::create(name, kSize);
        if (!mine) {
            wrong_ = "a mapping could not be made";
            return;
        }
        const int64_t mark = ++own_mark_;
        own_number(*mine).store(mark);
        if (random_() % 2 == 0)
            qmio::platform::remove_leftovers();
        const auto again = SharedMapping::open(name);
        if (!again || own_number(*again).load() != mark)
            wrong_ = "a mapping in use was taken away";
    }

    void look_at_mapping(const std::string& name) {
        const auto mapping = SharedMapping::open(name);
        if (mapping)
            own_number(*mapping).store(own_mark_);
    }

    void use_mutex(const std::string& name, SharedChurn& churn) {
        const auto mutex = NamedMutex::open(name);
        if (!mutex) {
            wrong_ = "a mutex could not be had";
            return;
        }
        if (random_() % 2 == 0)
            qmio::platform::remove_leftovers();
        const auto begin = std::chrono::steady_clock::now();
        const std::lock_guard inside(*mutex);
        const auto waited = std::chrono::steady_clock::now() - begin;
        keep_longest(churn, std::chrono::duration_cast<std::chrono::microseconds>(waited).count());
        visit(churn.counts[name.back() - '0'], own_mark_);
    }

    static void keep_longest(SharedChurn& churn, int64_t waited) {
        const std::atomic_ref longest(churn.longest_wait);
        int64_t known = longest.load();
        while (known < waited && !longest.compare_exchange_weak(known, waited)) {
        }
    }

    std::atomic_ref<int64_t> own_number(const SharedMapping& mapping) const {
        return std::atomic_ref(static_cast<int64_t*>(mapping.data())[slot_]);
    }

    std::mt19937 random_;
    const std::size_t slot_;  // no two living processes have the same
    int64_t own_mark_;
    std::string names_, held_;
    std::string wrong_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    const std::string wrong = User(static_cast<unsigned>(std::stoul(argv[1])), argv[2], argv[3]).run();
    if (!wrong.empty())
        std::cout << "wrong: " << wrong << std::endl;
    return wrong.empty() ? 0 : 1;
}
