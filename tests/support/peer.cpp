#include "tests/support/peer.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

constexpr size_t MESSAGE_ROOM = 150000;

void must(bool well, const std::string& what)
{
    if (!well) throw std::runtime_error(what);
}

// The peer's life. What is thrown ends the process, for there is no test to go on with.
[[noreturn]] static void live(int socket, const std::function<void(const Peer&)>& work) noexcept
{
    alarm(PEER_LIFE);
    dup2(socket, STDIN_FILENO);
    closefrom(STDERR_FILENO + 1);
    work({0, STDIN_FILENO});
    _exit(0);
}

Peer startPeer(const std::function<void(const Peer&)>& work)
{
    int ends[2];
    must(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0, "no socket for a peer");
    fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) live(ends[1], work);
    must(pid > 0, "no process for a peer");
    close(ends[1]);
    return {pid, ends[0]};
}

void say(const Peer& other, const std::string& message)
{
    ssize_t sent = send(other.socket, message.data(), message.size(), MSG_NOSIGNAL);
    must(sent == std::ssize(message), "nobody hears: " + message.substr(0, 100));
}

bool hasSpoken(const Peer& other, int patience)
{
    pollfd waiting = {other.socket, POLLIN, 0};
    return poll(&waiting, 1, patience * 1000) == 1;
}

std::string hear(const Peer& other)
{
    must(hasSpoken(other, PEER_PATIENCE), "the other side hangs");
    std::string message(MESSAGE_ROOM, 0);
    ssize_t length = recv(other.socket, message.data(), message.size(), 0);
    message.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return message;
}

void endPeer(const Peer& peer, int signal)
{
    if (signal != 0) kill(peer.pid, signal);
    shutdown(peer.socket, SHUT_WR);
    while (!hear(peer).empty()) {
    }
    close(peer.socket);
    int status = -1;
    waitpid(peer.pid, &status, 0);
    EXPECT_EQ(status, signal) << "a peer that ended in another way";
}

bool comesTrue(const std::function<bool()>& question)
{
    // Less than the other side's patience.
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(PEER_PATIENCE / 2);
    while (!question()) {
        if (std::chrono::steady_clock::now() > end) return false;
        usleep(50);
    }
    return true;
}
