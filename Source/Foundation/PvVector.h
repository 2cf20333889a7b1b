// Single-precision 2-D vector arithmetic on points. Pure functions, any thread.
// No function guards against a zero vector: unitVector, vectorWithAdjustedLength and
// vectorAngle then give infinities or NaN as IEEE arithmetic does.
#pragma once

extern "C" {

/// A point or vector of two single-precision coordinates.
typedef struct PvPoint {
    float x;
    float y;
} PvPoint;

float vectorScalarProduct(PvPoint a, PvPoint b); ///< a.x·b.x + a.y·b.y
float vectorLength(PvPoint v); ///< √(x² + y²)
float radiantsToDegree(float radians); ///< r · 180 / π in double precision, rounded to float
PvPoint PvMakeVectorFromPoints(PvPoint p, PvPoint q); ///< q − p
PvPoint inverseVector(PvPoint v); ///< (−x, −y) by flipping the sign bits, so 0 becomes −0
PvPoint vectorSum(PvPoint a, PvPoint b); ///< a + b
PvPoint scalarMultiplication(float s, PvPoint v); ///< s·v (the scalar comes first)
float vectorAngle(PvPoint a, PvPoint b); ///< acos((a·b) / (‖a‖·‖b‖)) in radians
PvPoint unitVector(PvPoint v); ///< v · (1 / ‖v‖), the reciprocal formed once
PvPoint vectorWithAdjustedLength(PvPoint v, float length); ///< unitVector(v) · length
}
