// What the framework exports and the room looks up.
#pragma once

// In the order in which they are looked up.
inline constexpr const char* kLateBoundNames[] = {"QTBeginUserInteractionSuppression",
                                                  "QTEndUserInteractionSuppression",
                                                  "QTIsUserInteractionAllowed",
                                                  "QTGetMoviePropertyInfo",
                                                  "QTGetMovieProperty",
                                                  "QTSetMovieProperty",
                                                  "QTGetProcessPropertyInfo",
                                                  "QTGetProcessProperty",
                                                  "QTSetProcessProperty"};
