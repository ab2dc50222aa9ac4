#include "support/ftp_server.h"

#include <stdexcept>
#include <utility>

#include "support/temp_dir.h"

namespace qmio::test {
namespace {

bool has_package(const std::string& python) {
    try {
        return run(python, {"-c", "import pyftpdlib"}).exit_code == 0;
    } catch (const std::runtime_error&) {
        return false;
    }
}

// The first python3 on the path need not be the system's, which has the distribution's packages.
std::string find_python() {
    for (const char* python : {"python3", "/usr/bin/python3"})
        if (has_package(python))
            return python;
    return {};
}

}  // namespace

std::unique_ptr<FtpServer> FtpServer::start(const std::filesystem::path& folder) {
    static const std::string python = find_python();
    if (python.empty())
        return nullptr;
    return std::unique_ptr<FtpServer>(
        new FtpServer(Process(python, {QMIO_FTP_SERVER_SCRIPT, utf8(folder), "anna", "s3cret-word"})));
}

FtpServer::FtpServer(Process process) : process_(std::move(process)) {
    port_ = process_.read_line().value_or("");
    if (port_.empty())
        throw std::runtime_error("the FTP server did not start: " + process_.error_text());
}

std::string FtpServer::url(const std::string& path, const std::string& password) const {
    return "ftp://anna:" + password + "@127.0.0.1:" + port_ + "/" + path;
}

std::vector<std::string> FtpServer::stop() {
    process_.close_input();
    std::vector<std::string> commands;
    while (const auto line = process_.read_line())
        commands.push_back(*line);
    process_.wait();
    return commands;
}

}  // namespace qmio::test
