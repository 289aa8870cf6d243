#pragma once

#include "platform/archive/coder.h"

#include <memory>

/// iChat's person object: archived in transcripts, carries nothing that is wanted.
class VORAPerson final : public platform::NSObject {
public:
    /// Reads nothing from @p coder.
    [[nodiscard]] static std::shared_ptr<const VORAPerson> initWithCoder(platform::NSCoder &coder);

    [[nodiscard]] QString className() const override { return QStringLiteral("VORAPerson"); }
};
