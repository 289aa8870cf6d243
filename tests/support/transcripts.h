#pragma once

#include "VORAInstantMessage.h"

#include <QByteArray>
#include <QString>

#include <vector>

// Transcripts and messages made for tests.

/// A message of a transcript: an empty service stands for no sender.
struct TestMessage {
    QByteArray service;
    QByteArray identifier;
    QByteArray text;         ///< UTF-8, without markup characters
    double time = 131432865; ///< seconds since 2001; 2005-03-01 21:07:45 in Los Angeles
};

/// The bytes of an .ichat transcript, a keyed archive in XML form.
[[nodiscard]] QByteArray keyedTranscript(const std::vector<TestMessage> &messages,
                                         const std::vector<QByteArray> &participants = {"kimlee"});

/// A message in memory.
[[nodiscard]] std::shared_ptr<const VORAInstantMessage>
makeMessage(const char16_t *service, const char16_t *identifier, const platform::NSAttributedString &text);

/// Attributes in memory, from names and values.
[[nodiscard]] platform::AttributesRef makeAttributes(std::vector<platform::NSDictionary::Entry> entries);
