#include "support/ftp_server.h"

#include <stdexcept>
#include <utility>

#include "support/sockets.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kSecondsToStart = 120;  // on a machine that does much else

#ifdef _WIN32
// Wine can start a program of the system it runs on, where a folder has another name.
constexpr const char* kPythons[] = {"python3", "Z:/usr/bin/python3"};

std::string name_for_server(const std::filesystem::path& folder) {
    using GetUnixName = char*(CDECL*)(const wchar_t*);
    const auto get_unix_name = reinterpret_cast<GetUnixName>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    char* const name = get_unix_name != nullptr ? get_unix_name(folder.c_str()) : nullptr;
    const std::string result = name != nullptr ? name : utf8(folder);
    ::HeapFree(::GetProcessHeap(), 0, name);
    return result;
}
#else
// The first python3 on the path need not be the system's, which has the distribution's packages.
constexpr const char* kPythons[] = {"python3", "/usr/bin/python3"};

std::string name_for_server(const std::filesystem::path& folder) {
    return utf8(folder);
}
#endif

}  // namespace

// The server connects to the test that starts it: pipes between the two worlds do not exist under Wine.
struct FtpServer::Connection {
    explicit Connection(Socket peer) : socket(std::move(peer)) {}

    Socket socket;
    std::string pending;
};

std::unique_ptr<FtpServer> FtpServer::start(const std::filesystem::path& folder) {
    for (const char* python : kPythons) {
        std::unique_ptr<FtpServer> server(new FtpServer(python, folder));
        if (!server->port_.empty())
            return server;
    }
    return nullptr;
}

FtpServer::FtpServer(const std::filesystem::path& python, const std::filesystem::path& folder) {
    int port = 0;
    const Socket listener = listen_on_loopback(port);
    try {
        process_.emplace(python, Arguments{QMIO_FTP_SERVER_SCRIPT, std::to_string(port), name_for_server(folder),
                                           "anna", "s3cret-word"});
    } catch (const std::runtime_error&) {
        return;
    }
    connection_ = std::make_unique<Connection>(accept_within(listener, kSecondsToStart));
    const std::string answer = read_line().value_or("");
    if (answer.empty())
        throw std::runtime_error("the FTP server did not start: " + process_->error_text());
    if (answer != "no pyftpdlib")
        port_ = answer;
}

FtpServer::~FtpServer() = default;

std::string FtpServer::url(const std::string& path, const std::string& password) const {
    return "ftp://anna:" + password + "@127.0.0.1:" + port_ + "/" + path;
}

std::optional<std::string> FtpServer::read_line() {
    std::string& pending = connection_->pending;
    std::size_t end;
    while ((end = pending.find('\n')) == pending.npos) {
        char buffer[4096];
        const auto count = recv(connection_->socket.get(), buffer, sizeof buffer, 0);
        if (count <= 0)
            return std::nullopt;
        pending.append(buffer, static_cast<std::size_t>(count));
    }
    std::string line = pending.substr(0, end);
    pending.erase(0, end + 1);
    return line;
}

std::vector<std::string> FtpServer::stop() {
    shutdown(connection_->socket.get(), kShutSending);
    std::vector<std::string> commands;
    while (const auto line = read_line())
        commands.push_back(*line);
    process_->wait();
    return commands;
}

}  // namespace qmio::test
