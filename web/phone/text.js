/** Milliseconds as minutes and seconds. */
export function clockText(milliseconds) {
  const seconds = Math.max(0, Math.round(milliseconds / 1000));
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}

/** A number of bytes for people. */
export function sizeText(bytes) {
  if (bytes < 1000) return `${bytes} B`;
  return bytes < 1e6 ? `${(bytes / 1e3).toFixed(1)} kB` : `${(bytes / 1e6).toFixed(1)} MB`;
}

export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

export const capitalised = (word) => word.charAt(0).toUpperCase() + word.slice(1);
