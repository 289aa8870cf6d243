#pragma once

#include <QString>

#include <filesystem>

/// What came of setting the galleries aside.
struct SetAside {
    std::filesystem::path folder; ///< where they are now; empty when there was nothing to set aside
    QString failure; ///< why they could not be, in English: then everything is where it was; else empty
};

/// Moves the three stores, the pages made from them and the ledger from the support folder into a new folder
/// `Set aside DATE TIME` in it (local time), so that the next run begins anew and counts each chat once.
///
/// `Images` stays, since a new run saves the same files under the same names; a link of that name in the new
/// folder lets the pages there find their pictures. Templates, word lists and address books stay as well.
[[nodiscard]] SetAside setGalleriesAside();
