// How things look that stand in several places: the colours of schemes, and the signs on buttons.

/** The look of a scheme: a colour, and a pattern for each further five. */
export function schemeClass(scheme, isDefault) {
  if (scheme === null) return 'part light';
  return isDefault ? 'part factory' : `part s${scheme % 5} p${Math.floor(scheme / 5) % 3}`;
}

/** Where the picture stands above the controls, not beside them. */
export const narrow = matchMedia('(max-width: 899px), (max-height: 499px)');

const paths = {
  freeze: 'M6 4h4v16H6zM14 4h4v16h-4z',
  unfreeze: 'M6 4l14 8-14 8z',
  compare: 'M3 5h18v14H3zM11 3h2v18h-2zM5 7v10h6V7z',
  full: 'M3 3h7v2H5v5H3zM14 3h7v7h-2V5h-5zM3 14h2v5h5v2H3zM19 14h2v7h-7v-2h5z',
  still: 'M9 4h6l2 3h4v13H3V7h4zM12 9a4.500 4.500 0 1 0 .01 0z',
  edit: 'M4 17L16 5l3 3L7 20H4zM17 4l2-2 3 3-2 2z',
  menu: 'M3 5h18v2H3zM3 11h18v2H3zM3 17h18v2H3z',
};

/** A sign, for those who see it; the button has its name as text besides. */
export function sign(name) {
  const space = 'http://www.w3.org/2000/svg';
  const svg = document.createElementNS(space, 'svg');
  svg.setAttribute('viewBox', '0 0 24 24');
  svg.setAttribute('aria-hidden', 'true');
  svg.classList.add('sign');
  const path = document.createElementNS(space, 'path');
  path.setAttribute('d', paths[name]);
  path.setAttribute('fill-rule', 'evenodd');
  svg.append(path);
  return svg;
}
