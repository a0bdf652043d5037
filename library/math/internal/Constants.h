#pragma once

/// Constants of floating-point arithmetic that several families share.
namespace measuremath {

/// Distance from 1 to the next double.
inline constexpr double machineEpsilon = 2.220446049250313e-16;  // 2^-52

/// Its square root: the default tolerance of every iteration and the relative step of forward
/// differences, where truncation and rounding balance.
inline constexpr double sqrtMachineEpsilon = 1.4901161193847656e-08;  // 2^-26

}  // namespace measuremath
