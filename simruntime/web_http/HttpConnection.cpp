#include "HttpConnection.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string>

#include "RuntimeError.h"

namespace sim {

namespace {

[[noreturn]] void fail(HRESULT code) { throw rt::hresult_error(code); }

// Started once and never cleaned up: operation threads may still hold sockets while the process exits.
void start_winsock() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (started != 0) fail(HRESULT_FROM_WIN32(started));
}

struct free_address_list {
    void operator()(ADDRINFOW* list) const noexcept { FreeAddrInfoW(list); }
};
using address_list = std::unique_ptr<ADDRINFOW, free_address_list>;

address_list resolve(const http_endpoint& endpoint) {
    ADDRINFOW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    ADDRINFOW* found = nullptr;
    if (GetAddrInfoW(endpoint.address.c_str(), endpoint.port.c_str(), &hints, &found) != 0 || !found) {
        fail(http_errors::name_not_resolved);
    }
    return address_list(found);
}

class unique_wsa_event {
public:
    unique_wsa_event() : event_(WSACreateEvent()) {
        if (event_ == WSA_INVALID_EVENT) fail(HRESULT_FROM_WIN32(WSAGetLastError()));
    }
    unique_wsa_event(const unique_wsa_event&) = delete;
    unique_wsa_event& operator=(const unique_wsa_event&) = delete;
    ~unique_wsa_event() { WSACloseEvent(event_); }
    WSAEVENT get() const noexcept { return event_; }

private:
    WSAEVENT event_;
};

class unique_socket {
public:
    explicit unique_socket(SOCKET socket) : socket_(socket) {}
    unique_socket(const unique_socket&) = delete;
    unique_socket& operator=(const unique_socket&) = delete;
    ~unique_socket() {
        if (valid()) closesocket(socket_);
    }
    SOCKET get() const noexcept { return socket_; }
    bool valid() const noexcept { return socket_ != INVALID_SOCKET; }

private:
    SOCKET socket_;
};

// The request goes out in one send and the answer is awaited at once: with
// Nagle's delay a small request may wait for the acknowledgement of the last one.
void send_without_delay(SOCKET socket) {
    const BOOL noDelay = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay), sizeof(noDelay));
}

// A non-blocking socket. Each operation is tried first and waited for only
// when it would block, so network events a wait passes over are never lost.
class abortable_socket {
public:
    abortable_socket(const ADDRINFOW& address, const abort_signal& abort)
        : socket_(socket(address.ai_family, address.ai_socktype, address.ai_protocol)), abort_(abort) {
        if (!socket_.valid()) return;
        if (WSAEventSelect(socket_.get(), event_.get(), FD_CONNECT | FD_READ | FD_WRITE | FD_CLOSE) != 0) {
            fail(HRESULT_FROM_WIN32(WSAGetLastError()));
        }
        send_without_delay(socket_.get());
    }

    // False when this address refuses or cannot be reached.
    bool connect(const ADDRINFOW& address) {
        if (!socket_.valid()) return false;
        if (::connect(socket_.get(), address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0) return true;
        if (WSAGetLastError() != WSAEWOULDBLOCK) return false;
        return wait_for(FD_CONNECT).iErrorCode[FD_CONNECT_BIT] == 0;
    }

    void send_all(std::string_view bytes) {
        while (!bytes.empty()) {
            const int sent = send(socket_.get(), bytes.data(), static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX)), 0);
            if (sent > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else if (WSAGetLastError() == WSAEWOULDBLOCK) {
                wait_for(FD_WRITE | FD_CLOSE);
            } else {
                fail(http_errors::connection_aborted);
            }
        }
    }

    // What arrived next; empty once the peer closed.
    std::string receive_some() {
        char buffer[8192];
        for (;;) {
            const int received = recv(socket_.get(), buffer, sizeof(buffer), 0);
            if (received >= 0) return std::string(buffer, static_cast<std::size_t>(received));
            if (WSAGetLastError() != WSAEWOULDBLOCK) fail(http_errors::connection_aborted);
            wait_for(FD_READ | FD_CLOSE);
        }
    }

private:
    WSANETWORKEVENTS wait_for(long events) {
        // The abort signal comes first: when both are set, it wins.
        const WSAEVENT handles[] = {abort_.handle(), event_.get()};
        for (;;) {
            const DWORD woken = WSAWaitForMultipleEvents(2, handles, FALSE, WSA_INFINITE, FALSE);
            if (woken == WSA_WAIT_EVENT_0) fail(HRESULT_FROM_WIN32(ERROR_CANCELLED));
            if (woken != WSA_WAIT_EVENT_0 + 1) fail(HRESULT_FROM_WIN32(WSAGetLastError()));
            WSANETWORKEVENTS happened{};
            if (WSAEnumNetworkEvents(socket_.get(), event_.get(), &happened) != 0) {
                fail(http_errors::connection_aborted);
            }
            if (happened.lNetworkEvents & events) return happened;
        }
    }

    unique_wsa_event event_;  // declared first so the socket closes before its event does
    unique_socket socket_;
    const abort_signal& abort_;
};

http_response read_response(abortable_socket& connection) {
    http_response_reader reader;
    for (;;) {
        const std::string bytes = connection.receive_some();
        if (bytes.empty()) return reader.finish(true);
        if (reader.add(bytes)) return reader.finish(false);
    }
}

}  // namespace

abort_signal::abort_signal() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (!event_.valid()) fail(HRESULT_FROM_WIN32(GetLastError()));
}

void abort_signal::raise() noexcept { SetEvent(event_.get()); }

http_response exchange(const http_endpoint& endpoint, std::string_view request, const abort_signal& abort) {
    start_winsock();
    const address_list addresses = resolve(endpoint);
    for (const ADDRINFOW* address = addresses.get(); address; address = address->ai_next) {
        abortable_socket connection(*address, abort);
        if (!connection.connect(*address)) continue;
        connection.send_all(request);
        return read_response(connection);
    }
    fail(http_errors::cannot_connect);
}

}  // namespace sim
