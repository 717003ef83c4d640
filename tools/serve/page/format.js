// Numbers as people read them.

const DEGREES = 180 / Math.PI;

/** A number with as many digits as are worth it, such as 0.25, 18.1 or 5,644. */
export function short(value, digits = 3) {
  if (!Number.isFinite(value)) return value > 0 ? "infinite" : "none";
  return Number(value.toPrecision(digits)).toString();
}

/** A number with that many decimals, a true minus sign and no negative zero. */
export function fixed(value, decimals) {
  const text = Math.abs(value).toFixed(decimals);
  return value < 0 && Number(text) !== 0 ? `\u2212${text}` : text;
}

export const count = (value) => Math.round(value).toLocaleString("en");
/** A large count in three digits: 55.3M. */
export const about = (value) => value.toLocaleString("en", { notation: "compact", maximumSignificantDigits: 3 });
export const metres = (value, decimals = 2) => `${fixed(value, decimals)} m`;
export const degrees = (radians) => `${fixed(radians * DEGREES, 0)}\u00b0`;
export const percent = (share) => `${fixed(100 * share, 1)} %`;

/** A time in the unit that suits it. */
export function duration(milliseconds) {
  if (milliseconds < 1) return `${count(milliseconds * 1000)} \u00b5s`;
  if (milliseconds < 100) return `${fixed(milliseconds, 1)} ms`;
  if (milliseconds < 10000) return `${count(milliseconds)} ms`;
  return `${fixed(milliseconds / 1000, 1)} s`;
}

/** A coordinate as it is written into links and code: to a millimetre, without needless zeros. */
export const plain = (value) => (Math.round(value * 1000) / 1000 + 0).toString();

export const toDegrees = (radians) => radians * DEGREES;
export const toRadians = (degreesGiven) => degreesGiven / DEGREES;
