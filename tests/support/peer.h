// A second process for a test: the test program started once more does a piece of work on
// contexts of its own, and the two sides send each other messages. peer.cpp has the main
// function of a program with peers.
//
// No wait lasts for ever: hear() gives up after PEER_PATIENCE and throws, which fails
// the test, and a peer that nobody ends dies after PEER_LIFE.
#pragma once

#include "tests/support/process.h"

#include <functional>
#include <map>

constexpr int PEER_PATIENCE = 30; // seconds
constexpr int PEER_LIFE = 60;

// What one side knows of the other; by default the peer of the test.
struct Peer {
    Process process = 0; // 0: the other side is the test
    int input = 0;
    int output = 1;
};

// What peers can do with the job at the path, by name; what it throws fails the test.
using PeerWork = void(const Peer& test, const std::string& path, int number);
extern const std::map<std::string, PeerWork*> PEER_WORKS;

// Starts a process that does the work and ends. It is about to begin then.
Peer startPeer(const std::string& work, const std::string& path, int number = 0);

// Sends a message, which holds no zero byte.
void say(const Peer& other, const std::string& message);

// The next message, empty when the other side has ended.
std::string hear(const Peer& other);

// True when there is something to hear, at once or within some seconds.
bool hasSpoken(const Peer& other, int patience = 0);

enum PeerEnd { LET_END, KILL };

// Ends the peer: lets it hear that the test has ended, or kills it. It is gone then.
void endPeer(const Peer& peer, PeerEnd end = LET_END);

// Asks until the answer is yes, or for a good while: what a process held goes away some
// time after its end.
bool comesTrue(const std::function<bool()>& question, int patience = PEER_PATIENCE / 2);
