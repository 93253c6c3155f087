// A chart service on the loopback interface: real HTTP, one request per connection, answered by a
// function of the test, which may also send half an answer or none.

#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/data/chart_api.hpp"

namespace ximCORE::Testing {

class HttpServer {
 public:
    /// One client, whose request has been read.
    class Connection {
     public:
        explicit Connection(int socket) : m_socket(socket) {
            timeval const patience{.tv_sec = 10, .tv_usec = 0};
            setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
            setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        }
        ~Connection() { close(m_socket); }
        Connection(Connection const&) = delete;
        Connection& operator=(Connection const&) = delete;

        /// Up to the empty line; a request to read has no body.
        std::string read_request() {
            std::string text;
            while (text.find("\r\n\r\n") == std::string::npos) {
                std::array<char, 4096> block{};
                auto const count = recv(m_socket, block.data(), block.size(), 0);
                if (count <= 0) break;
                text.append(block.data(), static_cast<std::size_t>(count));
            }
            return text;
        }
        /// False when the client has gone.
        bool send(std::string_view text) {
            while (!text.empty()) {
                auto const count = ::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL);
                if (count <= 0) return false;
                text.remove_prefix(static_cast<std::size_t>(count));
            }
            return true;
        }
        /// A whole answer.
        void answer(std::string const& body, std::string const& status = "200 OK") {
            send("HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nContent-Length: " +
                 std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        }
        /// Until the client gives up.
        void hang() {
            std::array<char, 64> block{};
            while (recv(m_socket, block.data(), block.size(), 0) > 0) {
            }
        }

     private:
        int m_socket;
    };

    /// Answers a target, as "/v8/finance/chart/A?interval=1d"; runs on the server's thread.
    using Answer = std::function<void(std::string const& target, Connection& client)>;

    HttpServer() : m_socket(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const general = reinterpret_cast<sockaddr*>(&address);
        if (bind(m_socket, general, size) != 0 || listen(m_socket, 16) != 0 ||
            getsockname(m_socket, general, &size) != 0)
            throw std::runtime_error("No port on the loopback interface");
        m_base_url =
            "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/v8/finance/chart/";
        m_thread = std::thread([this] { serve(); });
    }
    ~HttpServer() {
        shutdown(m_socket, SHUT_RDWR);  // ends `accept`
        m_thread.join();
        close(m_socket);
    }
    HttpServer(HttpServer const&) = delete;
    HttpServer& operator=(HttpServer const&) = delete;

    /// For the requests from now on.
    void set_answer(Answer answer) {
        std::scoped_lock const lock(m_mutex);
        m_answer = std::move(answer);
    }

    [[nodiscard]] char const* base_url() const { return m_base_url.c_str(); }
    /// All requests so far, headers included.
    [[nodiscard]] std::vector<std::string> requests() const {
        std::scoped_lock const lock(m_mutex);
        return m_requests;
    }
    /// What was asked for so far, behind the base URL's path.
    [[nodiscard]] std::vector<std::string> targets() const {
        std::vector<std::string> found;
        for (auto const& request : requests())
            found.push_back(
                target_of(request).substr(std::string_view("/v8/finance/chart/").size()));
        return found;
    }

 private:
    static std::string target_of(std::string const& request) {
        auto const begin = request.find(' ') + 1;
        return request.substr(begin, request.find(' ', begin) - begin);
    }

    Answer note(std::string const& request) {
        std::scoped_lock const lock(m_mutex);
        m_requests.push_back(request);
        return m_answer;
    }

    void serve() {
        for (;;) {
            int const client = accept(m_socket, nullptr, nullptr);
            if (client < 0) return;
            Connection connection(client);
            auto const request = connection.read_request();
            if (auto const answer = note(request)) answer(target_of(request), connection);
        }
    }

    Answer m_answer;
    int m_socket;
    std::string m_base_url;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests;
    std::thread m_thread;
};

/// Puts a server in the place of the chart service, with a time-out short enough for a test.
class ChartServiceAt {
 public:
    explicit ChartServiceAt(char const* base_url) {
        setenv("no_proxy", "127.0.0.1", 1);
        Data::YahooFinanceAPI::s_service = {.base_url = base_url, .timeout_ms = 2'000};
    }
    ~ChartServiceAt() { Data::YahooFinanceAPI::s_service = m_before; }
    ChartServiceAt(ChartServiceAt const&) = delete;
    ChartServiceAt& operator=(ChartServiceAt const&) = delete;

 private:
    Data::YahooFinanceAPI::Service m_before = Data::YahooFinanceAPI::s_service;
};

}  // namespace ximCORE::Testing
