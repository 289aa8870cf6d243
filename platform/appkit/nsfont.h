#pragma once

#include "platform/foundation/nsobject.h"

#include <QString>

namespace platform {

/// A font as text carries it: a name and a size. Nothing is looked up; any name will do.
class NSFont final : public NSObject {
public:
    /// @param size in points, held to 0 … 9999; what is no number counts as 0.
    NSFont(QString name, double size);

    [[nodiscard]] const QString &fontName() const { return m_name; }
    [[nodiscard]] double pointSize() const { return m_size; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSFont"); }

private:
    QString m_name;
    double m_size;
};

/// A trait that convertFont() can give to a font.
enum class NSFontTrait { Bold = 2 };

/// The face of @p font's family that has @p trait: for Helvetica, Helvetica-Bold. Stands in for the shared
/// font manager's convertFont:toHaveTrait:, by the naming rule of the families that have such a face.
[[nodiscard]] NSFont convertFont(const NSFont &font, NSFontTrait toHaveTrait);

} // namespace platform
