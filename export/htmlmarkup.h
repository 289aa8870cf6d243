#pragma once

#include "export/document.h"

#include <QByteArray>
#include <QStringView>

namespace exporting {

// What the pages of the HTML export have in common.

/// Appends @p text so that HTML shows it as it is, in text and in attributes between double quotes. Control
/// characters become U+FFFD, but for line feed and tab.
void addEscaped(Output &output, QStringView text);

/// A page from "<!DOCTYPE html>" to "<body>". Nothing runs or is fetched on it but what is named here.
/// @param style, script texts of the page's one `<style>` and one `<script>`, for the policy; the script may
/// be empty.
/// @param mayHaveFiles whether pictures that stand beside the page are shown.
void addPageHead(Output &output, QStringView title, const QByteArray &style, const QByteArray &script,
                 bool mayHaveFiles);

/// A file of `export/pages`, as built into the program.
[[nodiscard]] QByteArray pageResource(const char *name);

} // namespace exporting
