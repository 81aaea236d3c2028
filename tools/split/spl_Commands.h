// spl_Commands.h: sub-commands on split models, the same on one process and on several
#pragma once

#include "cli_Command.h"

class dst_Exchange;

// Each adds one sub-command; its work runs while the command line is parsed, on all ranks of the exchange.
void spl_AddCheck(cli_Command& program, dst_Exchange& exchange);
void spl_AddExport(cli_Command& program, dst_Exchange& exchange);
void spl_AddInfo(cli_Command& program, dst_Exchange& exchange);
void spl_AddLocate(cli_Command& program, dst_Exchange& exchange);
void spl_AddMeasure(cli_Command& program, dst_Exchange& exchange);
void spl_AddQuery(cli_Command& program, dst_Exchange& exchange);
void spl_AddSets(cli_Command& program, dst_Exchange& exchange);
void spl_AddSkin(cli_Command& program, dst_Exchange& exchange);

struct spl_Command {
  const char* name;
  void (*add)(cli_Command& program, dst_Exchange& exchange);
};
inline constexpr spl_Command spl_kCommands[] = {{"info", &spl_AddInfo},       {"query", &spl_AddQuery},
                                                {"sets", &spl_AddSets},       {"locate", &spl_AddLocate},
                                                {"measure", &spl_AddMeasure}, {"skin", &spl_AddSkin},
                                                {"export", &spl_AddExport},   {"check", &spl_AddCheck}};
