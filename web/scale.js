// The face and what surrounds it, in points.
const FACE = { width: 198, height: 242 };
const AROUND = { width: 66, height: 104 };
const LARGEST = 3.4;

/**
 * Scales the watch to fit its room. Sizes follow two custom properties: `--pt`, a point of the face, and `--text`,
 * the same for text, which grows further with the reader's own text size.
 */
export function fitFace(room, watch, face) {
  const fit = () => {
    const { width, height } = room.getBoundingClientRect();
    const scale = Math.min(width / (FACE.width + AROUND.width), height / (FACE.height + AROUND.height), LARGEST);
    const whole = Math.max(0.5, Math.floor(scale * 20) / 20);
    watch.style.setProperty('--pt', `${whole}px`);
    watch.style.setProperty('--text', `${whole / 16}rem`);
    face.dataset.scale = whole;
  };
  new ResizeObserver(fit).observe(room);
  fit();
}
