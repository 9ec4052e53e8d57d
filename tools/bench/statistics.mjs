// Statistics of the results. A measurement that failed is null in the results, NaN in a
// series, and does not count.

export function median(values) {
  const sorted = values.filter((value) => Number.isFinite(value)).sort((a, b) => a - b);
  if (sorted.length === 0) return NaN;
  const middle = sorted.length >> 1;
  return sorted.length % 2 === 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

/// Returns the median of `a / b` within a round, which cancels out other load on the machine.
export function medianRatio(a, b) {
  return median(a.map((value, round) => value / b[round]));
}

/// Returns the values of all rounds, or this field of them.
export function series(results, table, name, field) {
  return (results[table][name] ?? []).map((value) =>
    (field === undefined ? value : value?.[field]) ?? NaN);
}
