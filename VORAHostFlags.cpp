#include "VORAHostFlags.h"

bool iChatRunning = false;
bool shouldQuit = false;
bool verbose = false;
