// What an entry of the history says in each column.
import type { Mark } from '../routes/marks';
import { ended } from '../routes/outcome';
import { duration } from '../texts/clock';
import { moment } from '../texts/moment';
import type { Speech, TextKey } from '../texts/speech';
import type { Entry } from './pages';

type Why = Entry['why'];
export type Line = {
  readonly entry: Entry;
  readonly time: string;
  readonly who: string;
  readonly router: string;
  readonly destination: string;
  readonly fromTo: string;
  readonly why: string;
  readonly mark: Mark | undefined;
  readonly result: string;
  readonly confirmTime: string;
};

const WHYS = {
  take: 'whyTake',
  stage: 'whyTake',
  undo: 'whyUndo',
  redo: 'whyRedo',
  rollback: 'whyRollback',
  lock: 'whyLock',
  protect: 'whyProtect',
  unlock: 'whyUnlock',
  force: 'whyForce',
  expiry: 'whyExpiry',
  accept: 'whyAccept',
  outside: 'whyOutside',
  link: 'whyLink',
  setting: 'whySetting',
  people: 'whyPeople',
  signIn: 'whySignIn',
} as const satisfies Record<Exclude<Why, 'salvo'>, TextKey>;

// Each word once, for choosing by it.
export const CHOSEN_BY = [
  'take',
  'salvo',
  'undo',
  'redo',
  'rollback',
  'lock',
  'protect',
  'unlock',
  'force',
  'expiry',
  'accept',
  'outside',
  'link',
  'setting',
  'people',
  'signIn',
] as const satisfies readonly Why[];

const isWhy = (word: string): word is Exclude<Why, 'salvo'> => Object.hasOwn(WHYS, word);

// Of a kind that is not known here: the server's word.
export function whyWords({ say }: Speech, why: string, salvo?: string): string {
  if (why === 'salvo') return salvo === undefined ? say('salvos') : say('whySalvo', { salvo });
  return isWhy(why) ? say(WHYS[why]) : why;
}

function name({ say }: Speech, source: number | null | undefined, told?: string): string {
  if (source === null) return say('noSource');
  return source === undefined ? say('unknown') : (told ?? String(source));
}

function fromTo(speech: Speech, entry: Entry): string {
  const { was, wasName, source, sourceName, text, of } = entry;
  const { say } = speech;
  if (source !== undefined || was !== undefined)
    return say('fromTo', {
      from: name(speech, was, wasName),
      to: name(speech, source, sourceName),
    });
  if (of !== undefined && text) return say('brokeLockBecause', { person: of.name, reason: text });
  return text ?? entry.detail ?? '';
}

// `routers`: their names. `now`: ms by the server's clock.
export function lineOf(
  speech: Speech,
  entry: Entry,
  routers: ReadonlyMap<string, string>,
  now: number,
): Line {
  const { outcome, router, latencyMs } = entry;
  const end =
    outcome === undefined || outcome === 'open' ? undefined : ended(speech, entry, outcome);
  return {
    entry,
    time: moment(speech, Date.parse(entry.time), now),
    who: entry.person?.name ?? speech.say('nobodyHere'),
    router: router === undefined ? '' : (routers.get(router) ?? router),
    destination: entry.destinationName ?? '',
    fromTo: fromTo(speech, entry),
    why: whyWords(speech, entry.why, entry.salvo?.name),
    mark: end?.mark,
    result: end === undefined ? '' : end.words,
    confirmTime: latencyMs === undefined ? '' : duration(speech, latencyMs),
  };
}
