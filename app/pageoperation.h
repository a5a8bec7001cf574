#pragma once

// What the bulk operations page is doing; one operation at a time.
enum class PageOperation
{
    Idle,
    Discovering,
    ProbingAdapters,
    DetectingParts,
    RunningJob
};
