// What is measured: a row of the table is one work, done by each of those who can do it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

// Who does the work, as the columns are called.
inline constexpr const char* kLibrary = "qmio";
inline constexpr const char* kPlain = "plain FFmpeg";
inline constexpr const char* kFfms = "FFMS2";
inline constexpr const char* kOpenCv = "OpenCV";

using Job = std::function<void()>;

struct Contender {
    std::string name;

    // What has to be there before the clock starts. What it returns is timed, what that owns is released after.
    std::function<Job()> prepare;

    // Done once before all rounds: a remark on what the contender delivers, empty where that is right. Throws where a
    // wrong result is a defect of ours. May be empty.
    std::function<std::string()> check;

    bool is_program = false;  // its processor time is another process's
    double part = 1;          // of the row's units that a run of it does
};

struct Row {
    std::string media;
    std::string work;
    std::string unit;
    double amount = 0;  // units in one run
    std::vector<Contender> contenders;
};

}  // namespace bench
