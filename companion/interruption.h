#pragma once

namespace companion {

/// While it exists, the first SIGINT, SIGTERM or SIGHUP is only noted, so that a run can come to a good end;
/// a second one ends the process at once. A signal that the process was started to ignore (by nohup, for one)
/// stays ignored. There is one at a time.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;

    /// The number of the signal that came; 0 when none did.
    [[nodiscard]] int signal() const;
};

} // namespace companion
