#pragma once

// What the running program tells the chat-log model, for the whole process. All are false until the program
// sets them; the archiver never does. Together with the installed platform::Host this is the only state that
// belongs to the process.

/// Whether the program knows iChat to be running. While it is false, VORAChatLog::isLikelyEndOfChat() takes
/// every chat for ended and asks nobody.
extern bool iChatRunning;

/// Whether the delivery of a chat by mail waits until the exchange with the server has ended. When false, it
/// returns at once and the program's own run loop carries the exchange.
extern bool shouldQuit;

/// Whether the start of a delivery is told to the console log.
extern bool verbose;
