#pragma once

#include "VORALogGenerator.h"

#include "galleries/session.h"

/// Calls @p use with the session of the open run; a call outside one is a run of one call.
template <class Use>
void inRun(Use use)
{
    if (galleries::Session *session = galleries::Session::open())
        return use(*session);
    const VORALogGenerator::Run run;
    use(*galleries::Session::open());
}
