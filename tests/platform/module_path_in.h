// Where a copy of module_path_library says that it was loaded from.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/dynamic_library.h"

namespace qmio::test {

inline std::string module_path_in(const std::filesystem::path& library_path) {
    const DynamicLibrary library(library_path);
    EXPECT_TRUE(library.loaded()) << library.error();
    auto* copy_module_path = library.function<int(char*, int)>("copy_module_path");
    char buffer[1024];
    return copy_module_path ? std::string(buffer, static_cast<std::size_t>(copy_module_path(buffer, sizeof buffer)))
                            : std::string();
}

}  // namespace qmio::test
