import { expect, test, vi } from 'vitest';

import { readSide, setLabels } from './sides';

const answers = (body: object) => vi.fn(() => Promise.resolve(Response.json(body)));

test.each(['sources', 'destinations'] as const)(
  '%s are read and set at their own',
  async (side) => {
    const names = [{ index: 0, name: 'CAM 1' }];
    const reading = vi.fn(() =>
      Promise.resolve(Response.json({ [side]: names }, { headers: { ETag: '"7"' } })),
    );
    expect(await readSide('r1', side, reading)).toEqual({ ok: true, body: names, tag: '"7"' });

    const setting = answers({});
    await setLabels('r1', side, [{ index: 0, group: 'Floor' }], '"7"', setting);
    const [address, request] = setting.mock.calls[0] as unknown as [string, RequestInit];
    expect(address).toBe(`/api/v1/routers/r1/${side}`);
    expect(request).toMatchObject({
      method: 'PATCH',
      headers: { 'If-Match': '"7"' },
      body: '{"rows":[{"index":0,"group":"Floor"}]}',
    });
  },
);

test('what cannot be read is refused', async () => {
  const refusing = () => Promise.resolve(new Response(null, { status: 403 }));
  expect(await readSide('r1', 'sources', refusing)).toEqual({ ok: false, status: 403 });
  expect(await readSide('r1', 'destinations', refusing)).toEqual({ ok: false, status: 403 });
});
