#pragma once

// The statuses of RFC 9110, section 15, that the updater and the publisher tell apart.

constexpr int kOk = 200;
constexpr int kPartialContent = 206;
constexpr int kMultipleChoices = 300; // from here on a body is a page for people
constexpr int kBadRequest = 400;
constexpr int kRangeNotSatisfiable = 416;
