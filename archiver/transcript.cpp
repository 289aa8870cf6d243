#include "archiver/transcript.h"

#include "archiver/PBArchiver.h"

#include "platform/files/files.h"

#include <algorithm>

namespace {

constexpr std::string_view separator = " on ";

/// The extension of @p path, its ASCII letters in lower case.
std::string extensionOf(const std::filesystem::path &path)
{
    std::string extension = path.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? char(letter - 'A' + 'a') : letter;
    });
    return extension;
}

} // namespace

std::filesystem::path transcriptPath(const std::string &given)
{
    std::filesystem::path path = given;
    if (path.is_absolute() || platform::fileExists(path))
        return path;
    const std::filesystem::path kept = PBArchiver::transcriptFolder() / path;
    return platform::fileExists(kept) ? kept : path;
}

std::string transcriptFileName(const std::filesystem::path &path)
{
    std::string name = path.stem().native();
    if (name.find(separator) == std::string::npos)
        name += separator;
    return name + extensionOf(path);
}

VORAChatLog::Loading loadTranscript(const std::filesystem::path &path)
{
    return VORAChatLog::load(path, transcriptFileName(path));
}
