#pragma once

class GalleryRun;

/// What the host program tells the chat-log model about itself: three switches, one set for the process, and
/// whether it is in the middle of a run over many chats.
///
/// A program sets the switches at its start, or leaves them as they are; the archiver never sets one. With
/// the installed platform::Host these are the only state that belongs to the process.
namespace VORAHostFlags {

/// The host knows iChat to be running.
inline bool iChatRunning = false;

/// A delivery by e-mail is waited for: the program has nothing else to do and ends after it. Without this a
/// delivery goes on while the program runs its own run loop.
inline bool shouldQuit = false;

/// The start of a delivery is written to the console log.
inline bool verbose = false;

/// The run that calls of VORALogGenerator belong to, null outside one. Set by VORALogGenerator::Run alone.
inline GalleryRun *openRun = nullptr;

} // namespace VORAHostFlags
