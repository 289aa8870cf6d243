#include "VORAPerson.h"

std::shared_ptr<const VORAPerson> VORAPerson::initWithCoder(platform::NSCoder & /*coder*/)
{
    return std::make_shared<VORAPerson>();
}
