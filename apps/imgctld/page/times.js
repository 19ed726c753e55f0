// Times of a day, in minutes since it began. The day's end is 24:00.

export const dayMinutes = 24 * 60;

/** Reads HH:MM, 24 hours, 24:00 allowed; also 9 and 9:30. @return minutes, null for no time */
export function minutesOf(text) {
  const found = /^\s*(\d{1,2})(?:[:.](\d{2}))?\s*$/.exec(text);
  if (!found) return null;
  const minutes = Number(found[1]) * 60 + Number(found[2] ?? 0);
  return Number(found[2] ?? 0) < 60 && minutes <= dayMinutes ? minutes : null;
}

export const timeText = minutes => `${String(Math.floor(minutes / 60)).padStart(2, '0')}:${String(minutes % 60).padStart(2, '0')}`;
