// The little arithmetic that the tables need.

export function median(values) {
  const sorted = values.filter((value) => Number.isFinite(value)).sort((a, b) => a - b);
  if (sorted.length === 0) return NaN;
  const middle = sorted.length >> 1;
  return sorted.length % 2 === 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

/// The median of `a / b` over rounds in which both were measured: what the
/// machine did meanwhile touched both alike.
export function medianRatio(a, b) {
  return median(a.map((value, round) => value / b[round]));
}

/// Rounds up to the next step of the application's probes, in milliseconds.
export const upToProbe = (time) => Math.ceil(time / 250) * 250;
