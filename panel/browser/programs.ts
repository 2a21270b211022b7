// The server and simulated routers as processes of a test. Their programs stand in the folder that
// PROGRAMS names.
import { spawn } from 'node:child_process';
import { createInterface } from 'node:readline';

export const PROGRAMS = process.env.PROGRAMS ?? '../build/release';

type Program = {
  readonly says: (what: RegExp) => Promise<string>; // the first group of the first line of this kind
  readonly tell: (line: string) => void;
  readonly end: (signal?: NodeJS.Signals) => Promise<void>;
};

function startProgram(name: string, options: readonly string[]): Program {
  const child = spawn(`${PROGRAMS}/${name}`, options, { stdio: ['pipe', 'pipe', 'pipe'] });
  const lines: string[] = [];
  const heard = new Set<() => void>();
  let errors = '';
  let hasEnded = false;
  const wake = () => {
    for (const each of [...heard]) each();
  };
  createInterface(child.stdout).on('line', (line) => {
    lines.push(line);
    wake();
  });
  child.stderr.on('data', (text: Buffer) => {
    errors += text.toString();
  });
  child.on('error', (error) => {
    errors += String(error);
  });
  const ended = new Promise<void>((resolve) => {
    child.on('close', () => {
      hasEnded = true;
      wake();
      resolve();
    });
  });
  return {
    says: (what) =>
      new Promise((resolve, reject) => {
        const look = () => {
          const found = lines
            .map((line) => what.exec(line)?.[1])
            .find((each) => each !== undefined);
          if (found === undefined && !hasEnded) return;
          heard.delete(look);
          if (found !== undefined) resolve(found);
          else reject(new Error(`${name} has ended, and never said ${String(what)}:\n${errors}`));
        };
        heard.add(look);
        look();
      }),
    tell: (line) => {
      child.stdin.write(`${line}\n`);
    },
    end: async (signal = 'SIGTERM') => {
      if (!hasEnded) child.kill(signal);
      await ended;
    },
  };
}

export type Server = Program & { readonly address: string; readonly port: string };
export type Router = Program & { readonly port: string };

// Port 0: any that is free.
export async function startServer(options: readonly string[], port = '0'): Promise<Server> {
  const program = startProgram('router_control', ['--port', port, ...options]);
  const address = await program.says(/^Router control is at (\S+)\/$/);
  return { ...program, address, port: new URL(address).port };
}

export async function startRouter(options: readonly string[], port = '0'): Promise<Router> {
  const program = startProgram('router_simulator', ['--port', port, ...options]);
  return { ...program, port: await program.says(/^Listening on 127\.0\.0\.1:(\d+)/) };
}
