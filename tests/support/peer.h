// A second process for a test: it runs a function on contexts of its own, and the two
// sides send each other messages. POSIX only.
//
// No wait lasts for ever: hear() gives up after PEER_PATIENCE and throws, which fails
// the test, and a peer that nobody ends dies after PEER_LIFE.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

constexpr int PEER_PATIENCE = 30; // seconds
constexpr unsigned PEER_LIFE = 60;

// What one side knows of the other.
struct Peer {
    pid_t pid = 0; // 0: the other side is the test
    int socket = -1;
};

// Starts a process that runs the function and ends; what the function throws fails the
// test. None of the files that the test has open are open there, or their locks would
// outlive them.
Peer startPeer(const std::function<void(const Peer& test)>& work);

void say(const Peer& other, const std::string& message);

// The next message, empty when the other side has ended.
std::string hear(const Peer& other);

// True when there is something to hear, at once or within some seconds.
bool hasSpoken(const Peer& other, int patience = 0);

// Ends the peer: lets it hear that the test has ended, or sends it a signal in the
// middle of whatever it is doing. It is gone then.
void endPeer(const Peer& peer, int signal = 0);

// Asks until the answer is yes, or for a good while: what a process held goes away some
// time after its end.
bool comesTrue(const std::function<bool()>& question);

// Throws, naming what went wrong, unless it went well.
void must(bool well, const std::string& what);
