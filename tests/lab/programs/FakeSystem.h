#pragma once

#include <string>

// The host's own versions of functions that the launcher library calls: fork, pthread_create,
// pipe2, getpwuid_r, syslog and operator new. They do what they always do until told otherwise.

namespace test::FakeSystem {

// "yes": fork, pthread_create, pipe2 or (outside the main thread) new succeeds; "no": it fails;
// "later": it waits for another answer, pipe2 with the pipe already open. Whether there is such a
// function and such an answer.
bool setAnswer(const std::string& function, const std::string& answer);

// How often fork or pipe2 was called so far, calls that still wait included.
int count(const std::string& function);

// What happened in the calls of the library since the last call of this function, such as
// "detached thread, pause".
std::string takeJournal();
void addToJournal(const std::string& event);

// From now on, the user has this home folder and no other has any. The entry needs a buffer of the
// given size.
void setPasswordEntry(unsigned user, const std::string& home, std::size_t size);

// From now on, a new thread does nothing until its start is finished, and messages to the system
// log are only looked at.
void holdStarts();

// Whether a thread waits for finishStart.
bool isStartHeld();

// Lets the thread run and waits until it reports the outcome, for the length of a pause at most.
void finishStart();

// "no start", "started", "start failed" or "start unreported".
std::string outcome();

} // namespace test::FakeSystem
