#pragma once

#include <filesystem>

namespace galleries {

// Where the galleries and the statistics lie: `Library/Prattlebug` under the home folder, which is asked for
// anew on every call. Nothing here is created; the folder comes with the product's setup.

[[nodiscard]] std::filesystem::path supportFolder();

// What the galleries know of what a user can change there: the templates are read, never written.
inline constexpr char linkTemplateName[] = "linktemplate.html";
inline constexpr char imageTemplateName[] = "imagetemplate.html";
inline constexpr char statisticsTemplateName[] = "statstemplate.html";

[[nodiscard]] std::filesystem::path linkStorePath();
[[nodiscard]] std::filesystem::path linkTemplatePath();

[[nodiscard]] std::filesystem::path imageStorePath();
[[nodiscard]] std::filesystem::path imageTemplatePath();
/// Where attached files are saved; their paths in the image store are relative to the support folder.
[[nodiscard]] std::filesystem::path imagesFolder();
/// Copies of the newest attached files.
[[nodiscard]] std::filesystem::path topImagesFolder();

[[nodiscard]] std::filesystem::path statisticsStorePath();
[[nodiscard]] std::filesystem::path statisticsTemplatePath();
[[nodiscard]] std::filesystem::path curseListPath();
[[nodiscard]] std::filesystem::path netspeakListPath();

} // namespace galleries
