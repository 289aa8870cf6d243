#pragma once

/// What the host program tells the chat-log model about itself: three switches, one set for the process.
///
/// A program sets them at its start, or leaves them as they are; the archiver never sets one. With the
/// installed platform::Host and the open galleries::Session they are the only state that belongs to the
/// process.
namespace VORAHostFlags {

/// The host knows iChat to be running.
inline bool iChatRunning = false;

/// A delivery by e-mail is waited for: the program has nothing else to do and ends after it. Without this a
/// delivery goes on while the program runs its own run loop.
inline bool shouldQuit = false;

/// The start of a delivery is written to the console log.
inline bool verbose = false;

} // namespace VORAHostFlags
