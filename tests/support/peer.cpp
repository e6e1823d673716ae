#include "tests/support/peer.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

static std::string ownProgram;

// The peer's life. What is thrown ends it, for there is no test to go on with.
static int live(const std::string& work, const std::string& path, int number)
{
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::seconds(PEER_LIFE));
        std::_Exit(EXIT_FAILURE);
    }).detach();
    try {
        say({}, "ready");
        PEER_WORKS.at(work)({}, path, number);
    } catch (const std::exception& error) {
        fprintf(stderr, "%s: %s\n", work.c_str(), error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

int main(int argumentCount, char** arguments)
{
    ownProgram = arguments[0];
    if (argumentCount == 5 && arguments[1] == std::string("--peer"))
        return live(arguments[2], arguments[3], std::stoi(arguments[4]));
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}

Peer startPeer(const std::string& work, const std::string& path, int number)
{
    Pipe there = makePipe();
    Pipe back = makePipe();
    Process process = startProcess({ownProgram, "--peer", work, path, std::to_string(number)},
                                   there.readEnd, back.writeEnd, STDERR_FILENO);
    close(there.readEnd);
    close(back.writeEnd);
    Peer peer = {process, back.readEnd, there.writeEnd};
    must(hear(peer) == "ready", "no peer for " + work);
    return peer;
}

void say(const Peer& other, const std::string& message)
{
    // No system translates a zero byte.
    std::string line = message + '\0';
    auto sent = write(other.output, line.data(), static_cast<unsigned>(line.size()));
    must(sent == std::ssize(line), "nobody hears: " + message.substr(0, 100));
}

bool hasSpoken(const Peer& other, int patience)
{
    return comesTrue([&] { return hasInput(other.input); }, patience);
}

std::string hear(const Peer& other)
{
    must(hasSpoken(other, PEER_PATIENCE), "the other side hangs");
    std::string message;
    char next = 1;
    while (read(other.input, &next, 1) == 1 && next != 0) {
        message += next;
    }
    return next == 0 ? message : "";
}

void endPeer(const Peer& peer, PeerEnd end)
{
    if (end == KILL) killProcess(peer.process);
    close(peer.output);
    while (!hear(peer).empty()) {
    }
    close(peer.input);
    EXPECT_EQ(waitForProcess(peer.process), end == KILL ? KILLED : EXIT_SUCCESS)
        << "a peer that ended in another way";
}

bool comesTrue(const std::function<bool()>& question, int patience)
{
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(patience);
    while (!question()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return true;
}
