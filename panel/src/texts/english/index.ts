// Every text of the panel, in English: nothing on screen is worded anywhere else.
import { details } from './details';
import { forms } from './forms';
import { frame } from './frame';
import { groups } from './groups';
import { health } from './health';
import { history } from './history';
import { keys } from './keys';
import { matrix } from './matrix';
import { palette } from './palette';
import { people } from './people';
import { routers } from './routers';
import { routes } from './routes';
import { routing } from './routing';
import { salvos } from './salvos';
import { screens } from './screens';
import { settingsTexts } from './settings';
import { stage } from './stage';
import { times } from './times';
import { trouble } from './trouble';
import { undo } from './undo';

export const parts = [
  details,
  forms,
  frame,
  groups,
  health,
  history,
  keys,
  matrix,
  palette,
  people,
  routers,
  routes,
  routing,
  salvos,
  screens,
  settingsTexts,
  stage,
  times,
  trouble,
  undo,
];

export const english = {
  ...details,
  ...forms,
  ...frame,
  ...groups,
  ...health,
  ...history,
  ...keys,
  ...matrix,
  ...palette,
  ...people,
  ...routers,
  ...routes,
  ...routing,
  ...salvos,
  ...screens,
  ...settingsTexts,
  ...stage,
  ...times,
  ...trouble,
  ...undo,
};
