// What has been told of a topic, when it is of the kind that is asked for.
import type { Live } from './live';
import type { RouterState } from './router_topic';
import type { TopicState } from './topics';

type Kind = TopicState['kind'];
type OfKind<K extends Kind> = Extract<TopicState, { kind: K }>;

export function toldOf<K extends Kind>(
  live: Live | undefined,
  topic: string,
  kind: K,
): OfKind<K> | undefined {
  const state = live?.topics.get(topic)?.state;
  return state?.kind === kind ? (state as OfKind<K>) : undefined;
}

export function routersTold(live: Live | undefined): ReadonlyMap<string, RouterState> {
  const states = [...(live?.topics.values() ?? [])].map(({ state }) => state);
  return new Map(
    states.flatMap((state) => (state?.kind === 'router' ? [[state.router.id, state]] : [])),
  );
}
