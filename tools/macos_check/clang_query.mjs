// Runs clang-query on one source with the compile command of a build folder.
import { execFile } from 'node:child_process';
import { readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

const run = promisify(execFile);

// Returns the matches of each matcher, in order. A match is the text dump of its AST node,
// whose first line describes the node itself. Throws with the messages of clang-query when a
// matcher is malformed, and with the compiler's when the source does not compile. Warnings
// are errors when the compile command has -Werror.
export async function query(buildFolder, source, matchers) {
  const commands = join(tmpdir(), `clang-query-${process.pid}-${source.replaceAll('/', '_')}`);
  writeFileSync(commands, ['set output dump', ...matchers.map((matcher) => `match ${matcher}`)].join('\n'));
  try {
    const { stdout, stderr } = await run('clang-query-19', ['-p', buildFolder, '-f', commands, source],
      { maxBuffer: 1 << 28 });
    // clang-query exits with status 0 even when the source does not compile.
    if (stderr.includes('error:')) throw new Error(stderr);
    return split(stdout);
  } catch (error) {
    // A malformed matcher: clang-query exits with status 1 and writes "LINE:COLUMN: MESSAGE".
    const messages = error.stdout?.match(/^\d+:\d+: .*$/gm);
    throw messages ? new Error(messages.join('\n')) : error;
  } finally {
    rmSync(commands);
  }
}

// Returns the matches in the output of clang-query, by matcher. The output of each matcher ends
// with the line "N matches." or "1 match.".
function split(output) {
  return output.split(/^\d+ match(?:es)?\.$/m).slice(0, -1).map((part) =>
    part.split(/^Match #\d+:$/m).slice(1)
      .map((match) => match.trim().replace(/^Binding for "root":\n/, '')));
}

// Returns the Objective-C++ sources that a build folder compiles and that are below one of the
// folders.
export function compiledSources(buildFolder, folders) {
  return JSON.parse(readFileSync(join(buildFolder, 'compile_commands.json'), 'utf8'))
    .map(({ file }) => file)
    .filter((file) => file.endsWith('.mm') && folders.some((folder) => file.includes(`/${folder}/`)));
}
